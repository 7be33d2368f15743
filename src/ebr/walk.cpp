#include "ebr/walk.h"

#include "ebr/search.h"
#include "ebr/section.h"

std::vector<EbrCommand> walkCommands(const Bitstream& bitstream, std::uint64_t identifierBits) {
  std::vector<EbrCommand> commands;
  for (std::uint64_t from = 0;;) {
    const std::uint64_t section = findAddressSection(bitstream, from, NOT_FOUND);
    if (section == NOT_FOUND) return commands;
    commands.push_back(readEbrCommand(bitstream, section, identifierBits));
    const EbrCommand& command = commands.back();
    from = command.fault == CommandFault::NONE ? command.crcIndex() + CRC_BITS
                                               : endOfSection(bitstream, section, identifierBits);
  }
}
