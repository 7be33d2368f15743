// Writing a map of memories as text.
#ifndef RAMGRAFT_LAYOUT_MAPSPELLING_H
#define RAMGRAFT_LAYOUT_MAPSPELLING_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "layout/map.h"

/// A memory of a new map.
struct NewMemory {
  std::string name;
  std::uint64_t wordBits = 0;
  std::vector<std::uint64_t> words;   ///< of each part
  std::vector<std::string> widFiles;  ///< of each part, as seen from the map's folder
};

/// A map of these memories. What isn't known, base and order, is there as comments.
std::string spellMap(const std::string& design, const std::vector<NewMemory>& memories);

/// The text of `map` with another design, every other byte as it is; without one it gets one.
std::string replaceDesign(std::string_view text, const Map& map, const std::string& design);

#endif
