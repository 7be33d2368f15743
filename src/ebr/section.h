// Where the fields of an address section are.
#ifndef RAMGRAFT_EBR_SECTION_H
#define RAMGRAFT_EBR_SECTION_H

#include <cstdint>
#include <string>

#include "base/ramgraftbstream.h"

/// Bit index of the identifier of the section that begins at bit `section`. A section whose zero
/// bits are cut short by the end of the stream has its identifier there.
std::uint64_t identifierIndexOf(const Bitstream& bitstream, std::uint64_t section);

/// True if the section's identifier of `identifierBits` bits is there and at least one bit follows
/// it. If the identifier is empty, two bits must follow the zero bits.
bool hasIdentifier(const Bitstream& bitstream, std::uint64_t section, std::uint64_t identifierBits);

/// Bit index at which the search for the next section goes on: the end of the section's identifier,
/// or the end of the stream when there is none.
std::uint64_t endOfSection(const Bitstream& bitstream, std::uint64_t section,
                           std::uint64_t identifierBits);

/// The identifier of a section that has one, as digits, first bit first.
std::string identifierOf(const Bitstream& bitstream, std::uint64_t section,
                         std::uint64_t identifierBits);

#endif
