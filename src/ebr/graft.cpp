#include "ebr/graft.h"

#include <algorithm>
#include <utility>

#include "ebr/crcoverlap.h"
#include "ebr/format.h"
#include "ebr/linelengths.h"
#include "ebr/payload.h"
#include "ebr/reachwatch.h"

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
  return report;
}

std::optional<Lookup> graftEbrs(Bitstream& bitstream, const std::vector<std::string>& wids,
                                const MemoryWords& words, const GraftSteps& steps) {
  SectionChain chain(bitstream, wids);
  ReachWatch watch(bitstream, chain, wids.front().size());
  EbrColumns columns(words);
  std::vector<EbrCommand> grafted;
  for (std::size_t ebr = 0; ebr < wids.size(); ++ebr) {
    Lookup lookup = findEbr(bitstream, chain, wids[ebr]);
    if (lookup.isFound()) steps.found(ebr, lookup);
    if (!lookup.isUsable()) return lookup;
    watch.beforeWriting(lookup.command);
    steps.grafted(ebr, replaceContents(bitstream, lookup.command, columns, ebr));
    watch.afterWriting(lookup.command);
    grafted.push_back(lookup.command);
  }
  watch.forEachLost(steps.lost);
  const std::uint64_t lostCrcs = countLostCrcs(bitstream, std::move(grafted));
  if (lostCrcs != 0) steps.lostCrcs(lostCrcs);
  return std::nullopt;
}
