#include "ebr/edit.h"

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

std::uint64_t writtenWords(std::uint64_t frameCount, std::uint64_t columnBits) {
  return std::min(frameCount * FRAME_PAYLOAD_WORDS, physicalLineWords(columnBits));
}

Edit replaceContents(Bitstream& bitstream, const EbrCommand& command, EbrColumns& columns,
                     std::uint64_t ebr) {
  const std::uint64_t columnBits = columns.getMemoryWords().getColumnBits(ebr);
  Edit edit;
  edit.oldCrc = checkCrc(bitstream, command);
  edit.givenWords = (columnBits + 7) / 8;
  edit.writtenWords = writtenWords(command.frameCount, columnBits);
  writePayload(bitstream, command.payloadIndex, columns.get(ebr), edit.writtenWords);
  writeCrc(bitstream, command.crcIndex(), crcCoveredBits(command.frameCount));
  edit.hiddenCommand = findHiddenCommand(bitstream, command);
  return edit;
}
