// Located memories as width files, as a map, in words and as JSON.
#ifndef RAMGRAFT_INSPECT_LOCATED_H
#define RAMGRAFT_INSPECT_LOCATED_H

#include <string>
#include <vector>

#include "companion/json.h"
#include "inspect/locator.h"
#include "layout/map.h"

/// The names of the width files of a memory whose parts are numbered after `name`: "rom.wid" for
/// one part, else "rom-0.wid", "rom-1.wid" and so on.
std::vector<std::string> nameParts(const std::string& name, std::size_t numParts);

/// The width file of a part.
std::string spellWid(const Locator& locator, const KnownMemory& memory, const Fit& part);

/// A line that says which parts a memory has. It must have width files.
std::string summaryOf(const KnownMemory& memory);

/// An object with all that is known of a memory, located or not.
Json toJson(const Locator& locator, const KnownMemory& memory);

/// A new map of the memories, which have width files beside it.
std::string spellNewMap(const std::string& design, const KnownMemories& memories);

/// Gives the located memories the width files that the map has for them. Returns the sentence that
/// says why the map doesn't fit them, empty if it does.
std::string fitToMap(const Map& map, KnownMemories& located);

#endif
