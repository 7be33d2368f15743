#include "base/bits.h"

#include <algorithm>
#include <utility>

void PackedBits::reserve(std::uint64_t bits) { bytes.reserve((bits + 7) / 8); }

void PackedBits::set(std::uint64_t index, bool value) {
  const unsigned mask = 0x80U >> index % 8;
  unsigned char& byte = bytes.data()[index / 8];
  byte = static_cast<unsigned char>(value ? byte | mask : byte & ~mask);
}

void PackedBits::pushBack(bool value) {
  if (numBits % 8 == 0) bytes.push(0);
  ++numBits;
  set(numBits - 1, value);
}

void PackedBits::append(ByteBuffer&& added) {
  if (numBits == 0) {
    bytes = std::move(added);
    numBits = bytes.size() * 8;
    return;
  }
  for (std::size_t i = 0; i < added.size(); ++i) {
    for (int bit = 7; bit >= 0; --bit) pushBack((added.data()[i] >> bit & 1) != 0);
  }
}

void PackedBits::write(std::uint64_t index, const unsigned char* from, std::uint64_t count) {
  unsigned char* target = bytes.data() + index / 8;
  const unsigned shift = index % 8;
  const std::uint64_t wholeBytes = count / 8;
  if (shift == 0) {
    std::copy_n(from, wholeBytes, target);
  } else {
    // Each byte goes into the low end of one byte and the high end of the next.
    const unsigned high = 0xFF00U >> shift & 0xFF;
    for (std::uint64_t i = 0; i < wholeBytes; ++i) {
      target[i] = static_cast<unsigned char>((target[i] & high) | from[i] >> shift);
      target[i + 1] = static_cast<unsigned char>((target[i + 1] & ~high) |
                                                 (unsigned{from[i]} << (8 - shift) & high));
    }
  }
  for (std::uint64_t i = wholeBytes * 8; i < count; ++i) {
    set(index + i, (from[i / 8] >> (7 - i % 8) & 1) != 0);
  }
}
