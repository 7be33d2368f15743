#include "ebr/edit.h"

#include <algorithm>

#include "ebr/format.h"
#include "ebr/payload.h"
#include "ebr/physicalline.h"

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
  return edit;
}
