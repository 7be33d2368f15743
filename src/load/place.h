// Places: where the command line says that something goes.
#ifndef RAMGRAFT_LOAD_PLACE_H
#define RAMGRAFT_LOAD_PLACE_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "layout/map.h"

/// An address, or a byte of one memory, which may have no addresses.
struct Place {
  std::optional<std::size_t> memory;  ///< its number in the map; none: `value` is an address
  std::uint64_t value = 0;            ///< the address, or the offset in the memory in bytes

  /// The place `bytes` further on. Nothing past 2^64 - 1.
  std::optional<Place> after(std::uint64_t bytes) const;
};

/// A place as it is written: a number, NAME or NAME+OFFSET.
struct PlaceText {
  std::string name;          ///< empty if the place is a number
  std::uint64_t number = 0;  ///< the address, or the offset
};

/// Takes a place apart. A "+" that no number follows is part of the name. Nothing for an empty text
/// and for a number that doesn't fit 64 bits.
std::optional<PlaceText> parsePlace(std::string_view text);

/// The number in the map of the memory of this name.
std::optional<std::size_t> findMemory(const Map& map, std::string_view name);

/// What separates a command line's PLACE=REST: the place is empty if `text` has no "=" or if what
/// comes before the first one can't be a place, so that "./a=b.elf" is a file.
struct Assignment {
  std::string place, rest;
};
Assignment splitAssignment(const std::string& text);

#endif
