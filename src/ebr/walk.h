// The walk through a stream that passes over contents.
#ifndef RAMGRAFT_EBR_WALK_H
#define RAMGRAFT_EBR_WALK_H

#include <cstdint>
#include <vector>

#include "base/ramgraftbstream.h"
#include "ebr/command.h"

/// The commands that a walk from bit 0 comes to, in stream order; identifiers have `identifierBits`
/// bits. The walk goes on after the CRC field of a command without fault, and after the identifier
/// of one with a fault. A search looks for commands in contents, too; the walk doesn't, so contents
/// can neither pose as a command nor hide one.
std::vector<EbrCommand> walkCommands(const Bitstream& bitstream, std::uint64_t identifierBits);

#endif
