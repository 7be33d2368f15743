// Computing each CRC again would take a tenth of a usual run, where no CRC covers anything but its
// own command. So only those are checked of which a covered bit was written with another command.
#include "ebr/crcoverlap.h"

#include <algorithm>

#include "ebr/crcfield.h"

namespace {

std::uint64_t endOf(const EbrCommand& command) { return command.crcIndex() + CRC_BITS; }

// The first bit that the CRC covers: see computeCrc().
std::uint64_t coveredFrom(const EbrCommand& command) {
  const std::uint64_t from = command.payloadIndex - std::min(command.payloadIndex, CRC_HEADER_BITS);
  return (from + 1) / 8 * 8;
}

}  // namespace

std::uint64_t countLostCrcs(const Bitstream& bitstream, std::vector<EbrCommand> grafted) {
  std::ranges::sort(grafted, {}, &EbrCommand::payloadIndex);
  const auto isAgain = [](const EbrCommand& a, const EbrCommand& b) {
    return a.payloadIndex == b.payloadIndex;
  };
  grafted.erase(std::unique(grafted.begin(), grafted.end(), isAgain), grafted.end());
  std::uint64_t lost = 0, writtenEnd = 0;  // of the commands before
  for (std::size_t i = 0; i < grafted.size(); ++i) {
    const EbrCommand& command = grafted[i];
    const bool isShared = writtenEnd > coveredFrom(command) ||
                          (i + 1 < grafted.size() && grafted[i + 1].payloadIndex < endOf(command));
    writtenEnd = std::max(writtenEnd, endOf(command));
    if (!isShared && !coversItself(command)) continue;
    lost += checkCrc(bitstream, command).verdict == CrcCheck::Verdict::RIGHT ? 0 : 1;
  }
  return lost;
}
