// Putting the images into the bitstream.
#ifndef RAMGRAFT_LOAD_GRAFTING_H
#define RAMGRAFT_LOAD_GRAFTING_H

#include <cstdint>
#include <vector>

#include "companion/messages.h"
#include "layout/placement.h"
#include "load/images.h"

/// What grafting changed in one memory.
struct GraftChanges {
  std::uint64_t numEbrs = 0;          ///< EBRs that were grafted
  std::uint64_t changedPayloads = 0;  ///< EBRs with another payload than before
  std::uint64_t changedCrcs = 0;      ///< EBRs with another CRC than before, and the same payload
  bool hasAddress = false;            ///< a grafted payload or CRC has an EBR's address now
};

/// Grafts all lanes of every part that is touched, in the map's order, and reports what deserves a
/// warning. The result has an element for each memory of the map.
std::vector<GraftChanges> graftImages(const Map& map, const Placement& placement,
                                      const Images& images, Bitstream& bitstream,
                                      Messages& messages);

#endif
