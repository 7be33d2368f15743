// PackedBits: bits in file order, eight to a byte, reachable one at a time or 64 at once.
#ifndef RAMGRAFT_BASE_BITS_H
#define RAMGRAFT_BASE_BITS_H

#include <bit>
#include <cstdint>
#include <cstring>

#include "base/bytebuffer.h"

/// `value` with its bytes in reverse order unless this machine keeps numbers in `order`. The loads
/// below are spelled with it because GCC 12 makes eight loads of eight shifted bytes, and the
/// search and the transform spend their time on them.
constexpr std::uint64_t swapUnless(std::endian order, std::uint64_t value) {
  return std::endian::native == order ? value : __builtin_bswap64(value);
}

/// The eight bytes at `bytes` as one number, first byte most significant.
inline std::uint64_t loadBigEndian64(const unsigned char* bytes) {
  std::uint64_t value = 0;
  std::memcpy(&value, bytes, sizeof value);
  return swapUnless(std::endian::big, value);
}

/// The eight bytes at `bytes` as one number, first byte least significant.
inline std::uint64_t loadLittleEndian64(const unsigned char* bytes) {
  std::uint64_t value = 0;
  std::memcpy(&value, bytes, sizeof value);
  return swapUnless(std::endian::little, value);
}

/// Stores `value` in the eight bytes at `bytes`, most significant byte first.
inline void storeBigEndian64(unsigned char* bytes, std::uint64_t value) {
  value = swapUnless(std::endian::big, value);
  std::memcpy(bytes, &value, sizeof value);
}

/// Stores `value` in the eight bytes at `bytes`, least significant byte first.
inline void storeLittleEndian64(unsigned char* bytes, std::uint64_t value) {
  value = swapUnless(std::endian::little, value);
  std::memcpy(bytes, &value, sizeof value);
}

/// A growable sequence of bits held as the file's bytes: bit 8k is the most significant bit of
/// byte k. Indexes and sizes are in bits unless a name says bytes. Nothing here checks an index;
/// Bitstream, its one owner, does.
class PackedBits {
 public:
  /// Number of bits held.
  std::uint64_t size() const { return numBits; }
  /// Bytes that hold them, the last one padded with 0 bits; valid until the sequence grows.
  const unsigned char* data() const { return bytes.data(); }

  /// Reserves storage for `bits` bits in all.
  void reserve(std::uint64_t bits);
  /// Bit `index`, which is below size().
  bool get(std::uint64_t index) const;
  /// Overwrites bit `index`, which is below size().
  void set(std::uint64_t index, bool value);
  /// Appends one bit.
  void pushBack(bool value);
  /// Appends whole bytes, most significant bit first; an empty sequence takes the storage over.
  void append(ByteBuffer&& added);

  /// The 64 bits from `index` on, first bit most significant; bits past the end read as 0.
  /// `index` is at most size().
  std::uint64_t window(std::uint64_t index) const;
  /// Overwrites the `count` bits from `index` on with those of `from`, first bit most significant.
  /// `index` + `count` is at most size().
  void write(std::uint64_t index, const unsigned char* from, std::uint64_t count);

 private:
  ByteBuffer bytes;  ///< ceil(numBits / 8) bytes, the bits behind the last one being 0
  std::uint64_t numBits = 0;
};

inline bool PackedBits::get(std::uint64_t index) const {
  return (bytes.data()[index / 8] >> (7 - index % 8) & 1) != 0;
}

inline std::uint64_t PackedBits::window(std::uint64_t index) const {
  const std::uint64_t byteIndex = index / 8;
  const unsigned shift = index % 8;
  unsigned char atEnd[9] = {};
  const unsigned char* from = bytes.data() + byteIndex;
  if (bytes.size() - byteIndex < sizeof atEnd) {
    for (std::uint64_t i = 0; byteIndex + i < bytes.size(); ++i) atEnd[i] = from[i];
    from = atEnd;
  }
  return loadBigEndian64(from) << shift | static_cast<std::uint64_t>(from[8]) >> (8 - shift);
}

#endif
