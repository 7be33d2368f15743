// How a bitstream differs from what a load would leave.
#ifndef RAMGRAFT_LOAD_CHECK_H
#define RAMGRAFT_LOAD_CHECK_H

#include <cstdint>
#include <vector>

#include "layout/placement.h"
#include "load/images.h"

/// Adjacent bytes of a memory that all differ.
struct Difference {
  std::uint64_t offset = 0;  ///< of the first byte in the memory
  std::uint64_t bytes = 0;
};

/// How one memory differs.
struct MemoryDifferences {
  std::vector<Difference> runs;      ///< ascending
  std::uint64_t bytes = 0;           ///< in all
  std::vector<unsigned char> found;  ///< the bytes of all differences, one after the other
};

/// Compares the touched parts of the images with what the bitstream contains. The result has an
/// element for each memory of the map. Where words aren't whole bytes, whole words differ.
std::vector<MemoryDifferences> compareImages(const Map& map, const Placement& placement,
                                             const Images& images, const Bitstream& bitstream);

#endif
