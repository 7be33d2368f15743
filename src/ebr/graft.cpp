#include "ebr/graft.h"

#include <algorithm>

#include "ebr/format.h"
#include "ebr/linelengths.h"
#include "ebr/payload.h"

namespace {

// A command that is hidden by what was written of another one. Only a section that begins in the
// last few bits written can reach that far.
std::uint64_t findHiddenCommand(const Bitstream& bitstream, const EbrCommand& written) {
  const std::uint64_t sectionBits = IDENTIFIER_OFFSET + written.identifierBits;
  const std::uint64_t end = written.crcIndex() + CRC_BITS;
  const std::uint64_t last =
      findAddressSection(bitstream, std::max(written.payloadIndex, end - sectionBits + 1), end);
  if (last == NOT_FOUND) return NOT_FOUND;
  const std::uint64_t hidden = findAddressSection(bitstream, end, last + sectionBits);
  if (hidden == NOT_FOUND) return NOT_FOUND;
  const EbrCommand command = readEbrCommand(bitstream, hidden, written.identifierBits);
  return command.fault == CommandFault::NONE ? hidden : NOT_FOUND;
}

}  // namespace

std::uint64_t writableWords(std::uint64_t frameCount, std::uint64_t columnBits) {
  return std::min(frameCount * FRAME_PAYLOAD_WORDS, physicalLineWords(columnBits));
}

GraftReport replaceContents(Bitstream& bitstream, const EbrCommand& command, EbrColumns& columns,
                            std::uint64_t ebr) {
  const std::uint64_t columnBits = columns.getMemoryWords().getColumnBits(ebr);
  GraftReport report;
  report.oldCrc = checkCrc(bitstream, command);
  report.givenWords = (columnBits + 7) / 8;
  report.writtenWords = writableWords(command.frameCount, columnBits);
  writePayload(bitstream, command.payloadIndex, columns.get(ebr), report.writtenWords);
  writeCrc(bitstream, command.crcIndex(), crcCoveredBits(command.frameCount));
  report.hiddenCommand = findHiddenCommand(bitstream, command);
  return report;
}

std::optional<Lookup> graftEbrs(Bitstream& bitstream, const std::vector<std::string>& wids,
                                const MemoryWords& words, const GraftSteps& steps) {
  SectionChain chain(bitstream, wids);
  EbrColumns columns(words);
  for (std::size_t ebr = 0; ebr < wids.size(); ++ebr) {
    Lookup lookup = findEbr(bitstream, chain, wids[ebr]);
    if (lookup.isFound()) steps.found(ebr, lookup);
    if (!lookup.isUsable()) return lookup;
    const EbrCommand& command = lookup.command;
    steps.grafted(ebr, replaceContents(bitstream, command, columns, ebr));
    // The new contents may spell an address section, or break one that the old ones spelled.
    chain.bitsChanged(command.payloadIndex, command.crcIndex() + CRC_BITS);
  }
  return std::nullopt;
}
