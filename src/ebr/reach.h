// At which commands a search arrives.
#ifndef RAMGRAFT_EBR_REACH_H
#define RAMGRAFT_EBR_REACH_H

#include <cstdint>
#include <vector>

#include "base/ramgraftbstream.h"
#include "ebr/command.h"

/// Of `sections`, bit indexes, ascending, those that are the first with their identifier of
/// `identifierBits` bits; ascending, too. Sections without an identifier are not among them.
std::vector<std::uint64_t> firstOfEach(const Bitstream& bitstream,
                                       std::vector<std::uint64_t> sections,
                                       std::uint64_t identifierBits);

/// For each of `ebrs`, commands of the walk: true if ramgraft's search for its identifier, in the
/// stream as it is, arrives there. Elsewhere contents pose as a command or hide one, or the
/// identifier came up before.
std::vector<bool> findReached(const Bitstream& bitstream, const std::vector<EbrCommand>& ebrs,
                              std::uint64_t identifierBits);

/// True if an address section begins in the bits [begin, end), or ends in them.
bool holdsAddress(const Bitstream& bitstream, std::uint64_t begin, std::uint64_t end);

#endif
