#include "ebr/linelengths.h"

#include <algorithm>

#include "ebr/format.h"

namespace {

constexpr std::uint64_t BLOCK_DATA_BITS = PHYSICAL_BLOCK_WORDS * PHYSICAL_HALF_DATA_BITS;

}  // namespace

std::uint64_t physicalLineBits(std::uint64_t dataBits) {
  if (dataBits == 0) return 0;
  const std::uint64_t wholeBlocks = (dataBits - 1) / BLOCK_DATA_BITS;
  const std::uint64_t rest = dataBits - wholeBlocks * BLOCK_DATA_BITS;
  return wholeBlocks * PHYSICAL_BLOCK_BITS + rest + (rest > PHYSICAL_HALF_DATA_BITS ? 1 : 0);
}

std::uint64_t physicalLineWords(std::uint64_t dataBits) {
  return std::max(physicalLineBits(dataBits), PHYSICAL_LINE_BITS) / PHYSICAL_BLOCK_BITS *
         PHYSICAL_BLOCK_WORDS;
}
