#include "ramgraftbits.h"

#include <algorithm>
#include <utility>

void PackedBits::reserve(std::uint64_t bits) { bytes.reserve((bits + 7) / 8); }

void PackedBits::set(std::uint64_t index, bool value) { write(index, value ? 1 : 0, 1); }

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

void PackedBits::write(std::uint64_t index, std::uint64_t value, unsigned count) {
  unsigned char* target = bytes.data() + index / 8;
  if (index % 8 == 0 && count == 64) {  // a payload frame at its usual place
    storeBigEndian64(target, value);
    return;
  }
  // One byte at a time:        |<- offset ->|<- take ->|<- below ->|
  unsigned offset = index % 8;
  while (count > 0) {
    const unsigned take = std::min(8 - offset, count);
    const unsigned below = 8 - offset - take;
    const unsigned mask = ((1U << take) - 1) << below;
    const auto chunk = static_cast<unsigned>(value >> (count - take)) << below;
    *target = static_cast<unsigned char>((*target & ~mask) | (chunk & mask));
    ++target;
    offset = 0;
    count -= take;
  }
}
