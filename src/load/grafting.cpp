#include "load/grafting.h"

#include "ebr/columns.h"
#include "ebr/format.h"
#include "ebr/graft.h"
#include "ebr/reach.h"
#include "layout/deal.h"
#include "reports/ebrs.h"

namespace {

// The payload and the CRC of one command, to see what a graft changes.
class CommandBits {
 public:
  CommandBits(const Bitstream& bitstream, const EbrCommand& command)
      : payload((command.payloadBits() + 7) / 8), crc(bitstream.getWindow(command.crcIndex())) {
    bitstream.copyBits(command.payloadIndex, payload.data(), command.payloadBits());
    crc >>= 64 - CRC_BITS;
  }

  void compare(const CommandBits& later, GraftChanges& changes) const {
    if (payload != later.payload) {
      ++changes.changedPayloads;
    } else if (crc != later.crc) {
      ++changes.changedCrcs;
    }
  }

 private:
  std::vector<unsigned char> payload;
  std::uint64_t crc;
};

void graftLane(const Lane& lane, std::span<const EbrCommand> commands, const MemoryWords& words,
               Bitstream& bitstream, Messages& messages, GraftChanges& changes) {
  EbrColumns columns(words);
  for (std::size_t ebr = 0; ebr < commands.size(); ++ebr) {
    const CommandBits before(bitstream, commands[ebr]);
    const GraftReport report = replaceContents(bitstream, commands[ebr], columns, ebr);
    before.compare(CommandBits(bitstream, commands[ebr]), changes);
    ++changes.numEbrs;
    const std::uint64_t end = commands[ebr].crcIndex() + CRC_BITS;
    if (holdsAddress(bitstream, commands[ebr].payloadIndex, end)) changes.hasAddress = true;
    if (report.oldCrc.verdict == CrcCheck::Verdict::WRONG) {
      messages.warn(crcWarningOf(report.oldCrc, lane.wids[ebr]));
    }
  }
}

}  // namespace

std::vector<GraftChanges> graftImages(const Map& map, const Placement& placement,
                                      const Images& images, Bitstream& bitstream,
                                      Messages& messages) {
  std::vector<GraftChanges> changes(map.memories.size());
  for (std::size_t number = 0; number < map.memories.size(); ++number) {
    const Memory& memory = map.memories[number];
    const MemoryImage& image = images.getImage(number);
    for (std::size_t part = 0; part < image.isTouched.size(); ++part) {
      if (image.isTouched[part] == 0) continue;
      for (const Lane& lane : memory.parts[part].lanes) {
        const MemoryWords words = dealLane(memory, memory.parts[part], lane, image.bytes);
        graftLane(lane, placement.getCommands(lane), words, bitstream, messages, changes[number]);
      }
    }
  }
  return changes;
}
