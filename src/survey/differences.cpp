#include "survey/differences.h"

#include <algorithm>
#include <bit>
#include <cstring>

void BitDifferences::add(const BitDifferences& later) {
  if (count == 0) first = later.first;
  count += later.count;
}

namespace {

// The differences in the bits [begin, end). Almost all blocks are equal, which needs no counting.
BitDifferences compareBits(const Bitstream& a, const Bitstream& b, std::uint64_t begin,
                           std::uint64_t end) {
  constexpr std::uint64_t BLOCK_BYTES = 256;
  BitDifferences found;
  while (begin < end) {
    const std::uint64_t byte = begin / 8;
    if (begin % 8 == 0 && end - begin >= BLOCK_BYTES * 8 &&
        std::memcmp(a.getBytes() + byte, b.getBytes() + byte, BLOCK_BYTES) == 0) {
      begin += BLOCK_BYTES * 8;
      continue;
    }
    const std::uint64_t bits = std::min(64 - begin % 8, end - begin);
    const std::uint64_t different = (a.getWindow(begin) ^ b.getWindow(begin)) >> (64 - bits);
    if (different != 0 && found.count == 0) {
      found.first = begin + bits - static_cast<std::uint64_t>(std::bit_width(different));
    }
    found.count += static_cast<std::uint64_t>(std::popcount(different));
    begin += bits;
  }
  return found;
}

}  // namespace

Differences compareStreams(const SectionTable& oldTable, const Bitstream& changed) {
  const Bitstream& old = oldTable.getBitstream();
  Differences found;
  std::uint64_t compared = 0;  // everything before this bit has been counted
  for (const std::uint64_t section : oldTable.getWalk()) {
    const EbrCommand command = oldTable.getCommand(section);
    if (command.fault != CommandFault::NONE) continue;
    ++found.numEbrs;
    const std::uint64_t crcEnd = command.crcIndex() + CRC_BITS;
    found.outside.add(compareBits(old, changed, compared, command.payloadIndex));
    compared = crcEnd;
    const std::uint64_t payloadBits =
        compareBits(old, changed, command.payloadIndex, command.crcIndex()).count;
    const bool isCrcChanged = compareBits(old, changed, command.crcIndex(), crcEnd).count != 0;
    if (payloadBits == 0 && !isCrcChanged) continue;
    found.changed.push_back({command, payloadBits, isCrcChanged});
  }
  found.outside.add(compareBits(old, changed, compared, old.getNumBits()));
  return found;
}
