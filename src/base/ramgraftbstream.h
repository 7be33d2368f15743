// Bitstream: a whole configuration bitstream in memory.
#ifndef RAMGRAFT_BASE_RAMGRAFTBSTREAM_H
#define RAMGRAFT_BASE_RAMGRAFTBSTREAM_H

#include <cstdint>
#include <string>

#include "base/bits.h"

/// The bits of a configuration bitstream in file order, addressed by a bit index from 0. Bit 8k is
/// the most significant bit of file byte k. It knows nothing of commands or framing and has no
/// cursor. The size only grows; overwriting leaves it as it is. A broken precondition is an
/// assertion that aborts the process.
class Bitstream {
 public:
  /// An empty stream with storage reserved for `reservedBits` bits.
  explicit Bitstream(unsigned long reservedBits);
  Bitstream(const Bitstream&) = delete;
  Bitstream& operator=(const Bitstream&) = delete;
  Bitstream(Bitstream&&) = delete;
  Bitstream& operator=(Bitstream&&) = delete;
  ~Bitstream() = default;

  /// Number of bits held.
  unsigned long getNumBits() const { return bits.size(); }
  /// Number of whole bytes held; a trailing part of a byte does not count.
  unsigned long getNumBytes() const { return bits.size() / 8; }
  /// Whether the number of bits is a multiple of 8. An empty stream is byte aligned.
  bool isByteAligned() const { return bits.size() % 8 == 0; }

  /// Bit `bitIndex`, which must be below getNumBits().
  bool getBit(unsigned long bitIndex) const;
  /// Overwrites bit `bitIndex`, which must be below getNumBits(), with `value`.
  void addBit(bool value, unsigned long bitIndex);
  /// Byte `byteIndex` of the stream; its 8 bits must be below getNumBits().
  unsigned char getByte(unsigned long byteIndex) const;
  /// Appends one bit.
  void pushBit(bool value);
  /// Appends the 8 bits of `value`, most significant bit first.
  void pushByte(unsigned char value);

  /// Appends `bytes`, each most significant bit first; an empty stream takes their storage over
  /// instead of copying it.
  void pushBytes(ByteBuffer&& bytes);
  /// The stream's bytes, first bit most significant; a last, partial byte is padded with 0 bits.
  /// Owned by the stream, valid until it grows.
  const unsigned char* getBytes() const { return bits.data(); }
  /// The 64 bits from `bitIndex` on, first bit most significant, bits past the end being 0.
  /// `bitIndex` must be at most getNumBits().
  std::uint64_t getWindow(unsigned long bitIndex) const;
  /// Appends the bits [`begin`, `end`), which must lie below getNumBits(), to `text` as digits.
  void appendDigits(unsigned long begin, unsigned long end, std::string& text) const;
  /// Overwrites `numBits` bits from `bitIndex` on with those of `bytes`, first bit most
  /// significant. They must all lie below getNumBits().
  void overwriteBits(unsigned long bitIndex, const unsigned char* bytes, std::uint64_t numBits);

 private:
  PackedBits bits;
};

#endif
