// From a memory's bytes to the words of its lanes, and back.
#ifndef RAMGRAFT_LAYOUT_DEAL_H
#define RAMGRAFT_LAYOUT_DEAL_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "base/ramgraftbstream.h"
#include "ebr/memorywords.h"
#include "layout/map.h"
#include "layout/placement.h"

/// The words of one lane of a part, dealt out to its EBRs: each word's bits of the lane, highest
/// first, without gaps; 0 bits after the last word make whole bytes. These zeros can make a column
/// a group longer than its EBR. `image` is that of the whole memory.
MemoryWords dealLane(const Memory& memory, const Part& part, const Lane& lane,
                     std::span<const unsigned char> image);

/// The inverse for all lanes of a part: its words in the bitstream as bytes of the memory. Unused
/// bits are 0.
std::vector<unsigned char> readPart(const Bitstream& bitstream, const Memory& memory,
                                    const Part& part, const Placement& placement);

#endif
