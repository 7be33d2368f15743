// EbrTable: which memory, part and lane an EBR belongs to.
#ifndef RAMGRAFT_LAYOUT_EBRTABLE_H
#define RAMGRAFT_LAYOUT_EBRTABLE_H

#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

#include "layout/map.h"

/// An EBR of a map, by the numbers of what it belongs to.
struct MapEbr {
  std::string_view wid;  ///< owned by the map
  std::size_t memory = 0;
  std::size_t part = 0;  ///< of the memory
  std::size_t lane = 0;  ///< of the part
  std::size_t ebr = 0;   ///< of the lane, in width-file order
};

/// The EBRs of a map, which must outlive it and not change. Sorted rather than hashed: identifiers
/// chosen to collide in a known hash would make a table of them slow.
class EbrTable {
 public:
  explicit EbrTable(const Map& map);

  std::size_t size() const { return ebrs.size(); }
  /// The EBR with this identifier (digits, first bit first), null if the map has none.
  const MapEbr* find(std::string_view identifier) const;
  /// The first two EBRs with one identifier, in the map's order; null if there are none.
  std::pair<const MapEbr*, const MapEbr*> findRepeated() const;
  /// The lane that the EBR is in.
  const Lane& laneOf(const MapEbr& ebr) const;

 private:
  const Map& map;
  std::vector<MapEbr> ebrs;  ///< by identifier
};

#endif
