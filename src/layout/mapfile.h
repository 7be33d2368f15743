// MapFile: what a map's text says, before any file that it names is opened.
#ifndef RAMGRAFT_LAYOUT_MAPFILE_H
#define RAMGRAFT_LAYOUT_MAPFILE_H

#include <bit>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "layout/map.h"

/// A width file's name, as the map has it.
using WidName = Located<std::string>;

/// A memory's table.
struct MemoryTable {
  std::string name;
  std::uint64_t line = 0;
  Located<std::uint64_t> base;
  Located<std::vector<std::uint64_t>> alsoAt;
  Located<std::vector<std::uint64_t>> words;  ///< at least one number
  Located<std::endian> order;
  Located<std::vector<unsigned char>> fill;        ///< as parseWideNumber() gives it
  Located<std::vector<std::vector<WidName>>> wid;  ///< the lanes of each part; none is empty
};

/// The tables of a map, in its order.
struct MapFile {
  Located<std::string> design;  ///< a fingerprint
  std::vector<MemoryTable> memories;
  std::vector<OutsideRange> outside;
  FileIdentity identity;  ///< of the map
};

/// True for letters, digits, '_', '.' and '-' that begin with a letter or '_'.
bool isMemoryName(std::string_view name);

/// Reads a map's text. Returns the sentence that says what is wrong and where, empty if nothing is:
/// keys, types and names are then right.
std::string readMapFile(const std::string& fileName, MapFile& mapFile);

#endif
