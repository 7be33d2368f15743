#include "layout/addresses.h"

#include <algorithm>

AddressSpace::AddressSpace(const Map& itsMap) : map(itsMap) {
  for (std::size_t i = 0; i < map.memories.size(); ++i) {
    const std::uint64_t lastByte = map.memories[i].bytes() - 1;
    for (const std::uint64_t base : map.memories[i].bases) {
      ranges.push_back({base, base + lastByte, false, i});
    }
  }
  for (std::size_t i = 0; i < map.outside.size(); ++i) {
    const OutsideRange& outside = map.outside[i];
    ranges.push_back({outside.base, outside.base + (outside.bytes - 1), true, i});
  }
  std::ranges::stable_sort(ranges, {}, &AddressRange::first);
}

const AddressRange* AddressSpace::find(std::uint64_t address) const {
  const auto after = std::ranges::upper_bound(ranges, address, {}, &AddressRange::first);
  if (after == ranges.begin() || (after - 1)->last < address) return nullptr;
  return &*(after - 1);
}

const AddressRange* AddressSpace::firstAfter(std::uint64_t address) const {
  const auto after = std::ranges::upper_bound(ranges, address, {}, &AddressRange::first);
  return after == ranges.end() ? nullptr : &*after;
}

const AddressRange* AddressSpace::lastBefore(std::uint64_t address) const {
  const auto first = std::ranges::lower_bound(ranges, address, {}, &AddressRange::last);
  return first == ranges.begin() ? nullptr : &*(first - 1);
}

const std::string& AddressSpace::nameOf(const AddressRange& range) const {
  return range.isOutside ? map.outside[range.index].name : map.memories[range.index].name;
}

std::uint64_t AddressSpace::lineOf(const AddressRange& range) const {
  return range.isOutside ? map.outside[range.index].line : map.memories[range.index].line;
}
