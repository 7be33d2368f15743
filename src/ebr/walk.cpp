#include "ebr/walk.h"

#include "ebr/search.h"

std::vector<EbrCommand> walkCommands(const Bitstream& bitstream, std::uint64_t identifierBits) {
  std::vector<EbrCommand> commands;
  for (std::uint64_t from = 0;;) {
    const std::uint64_t section = findAddressSection(bitstream, from, NOT_FOUND);
    if (section == NOT_FOUND) return commands;
    commands.push_back(readEbrCommand(bitstream, section, identifierBits));
    from = endOfCommand(bitstream, commands.back());
  }
}

std::uint64_t endOfCommand(const Bitstream& bitstream, const EbrCommand& command) {
  switch (command.fault) {
    case CommandFault::NONE:
      return command.crcIndex() + CRC_BITS;
    case CommandFault::NO_IDENTIFIER:
      return bitstream.getNumBits();
    default:
      return command.identifierIndex + command.identifierBits;
  }
}
