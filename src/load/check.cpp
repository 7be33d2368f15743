#include "load/check.h"

#include <algorithm>

#include "layout/deal.h"

namespace {

// Compares what a memory is to have from byte `offset` on with what was found there.
void compareBytes(std::span<const unsigned char> expected, std::uint64_t offset,
                  std::span<const unsigned char> found, std::uint64_t unit,
                  MemoryDifferences& differences) {
  for (std::uint64_t at = 0; at < found.size(); at += unit) {
    if (std::ranges::equal(expected.subspan(offset + at, unit), found.subspan(at, unit))) continue;
    std::vector<Difference>& runs = differences.runs;
    const bool isAdjacent = !runs.empty() && runs.back().offset + runs.back().bytes == offset + at;
    if (!isAdjacent) runs.push_back({offset + at, 0});
    runs.back().bytes += unit;
    differences.bytes += unit;
    differences.found.insert(differences.found.end(),
                             found.begin() + static_cast<std::ptrdiff_t>(at),
                             found.begin() + static_cast<std::ptrdiff_t>(at + unit));
  }
}

}  // namespace

std::vector<MemoryDifferences> compareImages(const Map& map, const Placement& placement,
                                             const Images& images, const Bitstream& bitstream) {
  std::vector<MemoryDifferences> differences(map.memories.size());
  for (std::size_t number = 0; number < map.memories.size(); ++number) {
    const Memory& memory = map.memories[number];
    const MemoryImage& image = images.getImage(number);
    const std::uint64_t unit = memory.hasByteAddresses() ? 1 : memory.wordBytes();
    for (std::size_t part = 0; part < image.isTouched.size(); ++part) {
      if (image.isTouched[part] == 0) continue;
      const Part& its = memory.parts[part];
      compareBytes(image.bytes, its.firstWord * memory.wordBytes(),
                   readPart(bitstream, memory, its, placement), unit, differences[number]);
    }
  }
  return differences;
}
