// Memories and their words in text.
#ifndef RAMGRAFT_LAYOUT_SPELLING_H
#define RAMGRAFT_LAYOUT_SPELLING_H

#include <cstdint>
#include <span>
#include <string>

#include "layout/map.h"

/// The sentence that a memory's map must say its byte order.
std::string needsOrder(const Map& map, const Memory& memory);

/// Word number `word` of a memory's image: as many upper-case hexadecimal digits as its bits need.
std::string spellWord(const Memory& memory, std::span<const unsigned char> image,
                      std::uint64_t word);

#endif
