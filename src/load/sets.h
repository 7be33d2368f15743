// Values that the command line gives.
#ifndef RAMGRAFT_LOAD_SETS_H
#define RAMGRAFT_LOAD_SETS_H

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "layout/addresses.h"
#include "load/content.h"

/// One PLACE=VALUE that has been understood.
struct SetValue {
  std::string place;                 ///< as given
  std::size_t memory = 0;            ///< its number in the map
  std::uint64_t offset = 0;          ///< of the first byte in the memory
  std::vector<unsigned char> bytes;  ///< in address order; at least one, all of them in the memory
};

/// Finds out what `argument` sets and where. Symbols come from `contents` and from `symbolFiles`.
/// Returns the sentence that says what is wrong, empty if nothing is.
std::string readSet(const std::string& argument, const Map& map, const AddressSpace& addresses,
                    const std::deque<Content>& contents, const std::deque<Content>& symbolFiles,
                    SetValue& value);

#endif
