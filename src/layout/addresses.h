// AddressSpace: what is at which address.
#ifndef RAMGRAFT_LAYOUT_ADDRESSES_H
#define RAMGRAFT_LAYOUT_ADDRESSES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "layout/map.h"

/// Addresses of a memory or of an outside range. A memory has one for each of its bases.
struct AddressRange {
  std::uint64_t first = 0;
  std::uint64_t last = 0;  ///< the address of the last byte, which may be 2^64 - 1
  bool isOutside = false;
  std::size_t index = 0;  ///< in Map::memories or Map::outside
};

/// The ranges of a map, which must outlive it and not change.
class AddressSpace {
 public:
  explicit AddressSpace(const Map& map);

  /// All ranges, ascending.
  const std::vector<AddressRange>& getRanges() const { return ranges; }
  /// The range that has the address, null if none has.
  const AddressRange* find(std::uint64_t address) const;
  /// The first range that begins after the address, null if none does.
  const AddressRange* firstAfter(std::uint64_t address) const;
  /// The last range that ends before the address, null if none does.
  const AddressRange* lastBefore(std::uint64_t address) const;
  /// The name of the memory or outside range.
  const std::string& nameOf(const AddressRange& range) const;
  /// The line of its table in the map.
  std::uint64_t lineOf(const AddressRange& range) const;

 private:
  const Map& map;
  std::vector<AddressRange> ranges;
};

#endif
