// The walk through a stream that passes over contents.
#ifndef RAMGRAFT_EBR_WALK_H
#define RAMGRAFT_EBR_WALK_H

#include <algorithm>
#include <cstdint>
#include <vector>

#include "base/ramgraftbstream.h"
#include "ebr/command.h"

/// The commands that a walk from bit 0 comes to, in stream order; identifiers have `identifierBits`
/// bits. The walk goes on after the CRC field of a command without fault, and after the identifier
/// of one with a fault. A search looks for commands in contents, too; the walk doesn't, so contents
/// can neither pose as a command nor hide one.
std::vector<EbrCommand> walkCommands(const Bitstream& bitstream, std::uint64_t identifierBits);

/// Bit index at which the walk goes on after a command that it came to.
std::uint64_t endOfCommand(const Bitstream& bitstream, const EbrCommand& command);

/// The same walk along `allSections`, which findAllSections() gives: calls `visit` with each
/// command.
template <typename Visit>
void walkAlong(const Bitstream& bitstream, const std::vector<std::uint64_t>& allSections,
               std::uint64_t identifierBits, const Visit& visit) {
  for (auto next = allSections.begin(); next != allSections.end();) {
    const EbrCommand command = readEbrCommand(bitstream, *next, identifierBits);
    visit(command);
    const std::uint64_t end = endOfCommand(bitstream, command);
    ++next;
    if (next != allSections.end() && *next < end) {  // most often it isn't
      next = std::lower_bound(next, allSections.end(), end);
    }
  }
}

#endif
