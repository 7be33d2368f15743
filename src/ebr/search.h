// The search for EBR address sections at any bit position of a stream.
#ifndef RAMGRAFT_EBR_SEARCH_H
#define RAMGRAFT_EBR_SEARCH_H

#include <cstdint>

#include "base/ramgraftbstream.h"

/// What a search returns when it finds nothing.
inline constexpr std::uint64_t NOT_FOUND = UINT64_MAX;

/// The first bit index in [from, end) at which an EBR address section begins: the address opcode
/// followed by zero bits, ADDRESS_ZERO_BITS of them or, cut short by the end of the stream, at
/// least one. NOT_FOUND when there is none.
std::uint64_t findAddressSection(const Bitstream& bitstream, std::uint64_t from, std::uint64_t end);

#endif
