// Why a memory wasn't located, in words.
#ifndef RAMGRAFT_INSPECT_UNLOCATED_H
#define RAMGRAFT_INSPECT_UNLOCATED_H

#include <functional>
#include <string>

#include "survey/shortfall.h"

/// The identifier of the EBR of this number.
using Identifiers = std::function<std::string(std::size_t ebr)>;

/// "4 EBRs hold 8 bits of each word each".
std::string describe(const Split& split);

/// The reason why `location`, which `search` gave for the known words, isn't FOUND. If they weren't
/// found, searches for what comes close.
std::string reasonOf(const Location& location, FitSearch& search, KnownWords& known,
                     const Identifiers& identifiers);

#endif
