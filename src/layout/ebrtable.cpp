#include "layout/ebrtable.h"

#include <algorithm>

EbrTable::EbrTable(const Map& itsMap) : map(itsMap) {
  for (std::size_t memory = 0; memory < map.memories.size(); ++memory) {
    const std::vector<Part>& parts = map.memories[memory].parts;
    for (std::size_t part = 0; part < parts.size(); ++part) {
      for (std::size_t lane = 0; lane < parts[part].lanes.size(); ++lane) {
        const std::vector<std::string>& wids = parts[part].lanes[lane].wids;
        for (std::size_t i = 0; i < wids.size(); ++i) {
          ebrs.push_back({wids[i], memory, part, lane, i});
        }
      }
    }
  }
  std::ranges::stable_sort(ebrs, {}, &MapEbr::wid);
}

const MapEbr* EbrTable::find(std::string_view identifier) const {
  const auto found = std::ranges::lower_bound(ebrs, identifier, {}, &MapEbr::wid);
  return found == ebrs.end() || found->wid != identifier ? nullptr : &*found;
}

std::pair<const MapEbr*, const MapEbr*> EbrTable::findRepeated() const {
  const auto found = std::ranges::adjacent_find(ebrs, {}, &MapEbr::wid);
  if (found == ebrs.end()) return {};
  return {&*found, &*(found + 1)};
}

const Lane& EbrTable::laneOf(const MapEbr& ebr) const {
  return map.memories[ebr.memory].parts[ebr.part].lanes[ebr.lane];
}
