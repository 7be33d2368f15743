// Which sections a search arrives at.
#ifndef RAMGRAFT_EBR_REACH_H
#define RAMGRAFT_EBR_REACH_H

#include <cstdint>
#include <vector>

#include "base/ramgraftbstream.h"

/// Of `sections`, bit indexes, ascending, those that are the first with their identifier of
/// `identifierBits` bits, in the order of the identifiers. Sections without an identifier are not
/// among them.
std::vector<std::uint64_t> firstOfEach(const Bitstream& bitstream,
                                       const std::vector<std::uint64_t>& sections,
                                       std::uint64_t identifierBits);

/// The one of `firsts`, which firstOfEach() gives, that has the same identifier as `section`, which
/// has one; NOT_FOUND if there is none.
std::uint64_t findFirst(const Bitstream& bitstream, const std::vector<std::uint64_t>& firsts,
                        std::uint64_t section, std::uint64_t identifierBits);

/// The sections of a chain that have a data section, and at which the search for their identifier
/// of `identifierBits` bits arrives; ascending, as the chain is.
std::vector<std::uint64_t> findReached(const Bitstream& bitstream,
                                       const std::vector<std::uint64_t>& chain,
                                       std::uint64_t identifierBits);

/// True if an address section begins in the bits [begin, end), or ends in them.
bool holdsAddress(const Bitstream& bitstream, std::uint64_t begin, std::uint64_t end);

#endif
