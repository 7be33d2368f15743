// Addresses and bytes as ramgraft-load spells them.
#ifndef RAMGRAFT_LOAD_TEXTS_H
#define RAMGRAFT_LOAD_TEXTS_H

#include <cstdint>
#include <span>
#include <string>

#include "layout/map.h"

/// Digits that make all addresses up to `last` equally long: 8, or 16 where 8 are not enough.
std::size_t addressDigits(std::uint64_t last);

/// Two upper-case hexadecimal digits for each byte.
std::string spellBytes(std::span<const unsigned char> bytes);

/// Where byte `offset` of the memory is: its address with addressDigits(), or NAME+OFFSET in a
/// memory without addresses, or NAME word N where words aren't whole bytes.
std::string spellLocation(const Memory& memory, std::uint64_t offset);

/// "NAME (MAP, line N)".
std::string nameWithLine(const Map& map, const Memory& memory);

#endif
