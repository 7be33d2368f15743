// Bitstream: a whole configuration bitstream in memory.
#ifndef RAMGRAFT_BASE_RAMGRAFTBSTREAM_H
#define RAMGRAFT_BASE_RAMGRAFTBSTREAM_H

#include <cstdint>
#include <string>

#include "base/bytebuffer.h"

/// The bits of a configuration bitstream in file order, addressed by a bit index from 0. Bit 8k is
/// the most significant bit of file byte k. The class knows nothing of the format and has no
/// cursor. The size only grows; overwriting keeps it. A broken precondition is an assertion that
/// aborts the process.
class Bitstream {
 public:
  /// An empty stream with storage reserved for `reservedBits` bits.
  explicit Bitstream(unsigned long reservedBits);
  Bitstream(const Bitstream&) = delete;
  Bitstream& operator=(const Bitstream&) = delete;
  ~Bitstream() = default;

  /// Number of bits held.
  unsigned long getNumBits() const { return numBits; }
  /// Number of whole bytes held; a trailing part of a byte does not count.
  unsigned long getNumBytes() const { return numBits / 8; }
  /// True when the number of bits is a multiple of 8, as it is for an empty stream. Only such a
  /// stream is the contents of a file.
  bool isByteAligned() const { return numBits % 8 == 0; }

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

  /// Appends `added`, each byte most significant bit first. An empty stream takes the storage over
  /// instead of copying it.
  void pushBytes(ByteBuffer&& added);
  /// The stream's bytes, first bit most significant; a last, partial byte is padded with 0 bits.
  /// Owned by the stream, valid until it grows.
  const unsigned char* getBytes() const { return bytes.data(); }
  /// The 64 bits from `bitIndex` on, first bit most significant; bits past the end read as 0.
  /// `bitIndex` must be at most getNumBits().
  std::uint64_t getWindow(unsigned long bitIndex) const;
  /// Copies the `count` bits from `bitIndex` on, all below getNumBits(), to the first ceil(`count`
  /// / 8) bytes at `to`, most significant bit of a byte first; bits left over in the last byte are
  /// 0.
  void copyBits(unsigned long bitIndex, unsigned char* to, std::uint64_t count) const;
  /// Appends the bits [`begin`, `end`), which must lie below getNumBits(), to `text` as digits.
  void appendDigits(unsigned long begin, unsigned long end, std::string& text) const;
  /// Overwrites `count` bits from `bitIndex` on with the first `count` bits of `from`, most
  /// significant bit of a byte first. All of them must lie below getNumBits().
  void overwriteBits(unsigned long bitIndex, const unsigned char* from, std::uint64_t count);

 private:
  void setBit(std::uint64_t bitIndex, bool value);

  ByteBuffer bytes;  ///< ceil(numBits / 8) bytes; the bits after the last one are 0
  std::uint64_t numBits = 0;
};

#endif
