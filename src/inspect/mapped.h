// A map of memories, and what a bitstream has in them.
#ifndef RAMGRAFT_INSPECT_MAPPED_H
#define RAMGRAFT_INSPECT_MAPPED_H

#include <optional>
#include <string>
#include <vector>

#include "companion/json.h"
#include "companion/opening.h"
#include "companion/options.h"
#include "layout/ebrtable.h"
#include "layout/placement.h"

/// Adds the option --map, which excludes --id-bits, because the map has the width of its
/// identifiers, and the flag --any-design, which goes with it.
void addMap(CLI::App& app, std::optional<std::string>& mapFile, bool& takesAnyDesign);

/// A map, and where its EBRs are. Must stay where it is. Without a map it has no EBRs.
struct MappedStream {
  Map map;
  Placement placement;
  std::optional<EbrTable> ebrs;  ///< once openMap() has succeeded

  /// The EBR with this identifier, null if there is none.
  const MapEbr* find(const std::string& identifier) const {
    return ebrs ? ebrs->find(identifier) : nullptr;
  }
  /// "rom part 1"; parts count from 1. Empty for null.
  std::string nameOf(const MapEbr* ebr) const;
  /// Adds the members "memory" and "part" to an object. Nothing for null.
  void addTo(Json& object, const MapEbr* ebr) const;
};

/// Reads the map and finds its EBRs in the stream, which unless `takesAnyDesign` must be of the
/// map's design. False if that failed, with the reason reported.
bool openMap(const std::string& mapFile, const OpenStream& stream, bool takesAnyDesign,
             MappedStream& mapped, const Messages& messages);

/// A memory's image, as the stream contains it.
std::vector<unsigned char> readImage(const Bitstream& bitstream, const Memory& memory,
                                     const Placement& placement);

#endif
