// Eight bytes at a time: loading and storing 64-bit numbers in either byte order.
#ifndef RAMGRAFT_BASE_BITS_H
#define RAMGRAFT_BASE_BITS_H

#include <bit>
#include <cstdint>
#include <cstring>

/// `value` with its bytes in reverse order unless this machine keeps numbers in `order`. The loads
/// below use it because GCC 12 turns eight shifted bytes into eight loads, and the search and the
/// columns spend their time on loads.
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

#endif
