#include "run/ramgraftmemory.h"

#include <algorithm>
#include <utility>

#include "ebr/graft.h"
#include "inputs/loading.h"
#include "reports/ebrs.h"
#include "reports/inputs.h"

namespace {

// A copy, because a graft that fails half-way leaves the EBRs before replaced.
void copyBytes(const std::vector<unsigned char>& from, Bitstream& to) {
  ByteBuffer bytes;
  bytes.resize(from.size());
  std::copy(from.begin(), from.end(), bytes.data());
  to.pushBytes(std::move(bytes));
}

EbrReport reportOf(const Lookup& lookup) {
  EbrReport report;
  report.identifier = lookup.wid;
  if (!lookup.isUsable()) report.error = textOf(lookup);
  report.bitIndex = lookup.command.opcodeIndex;
  report.frameCount = lookup.command.frameCount;
  return report;
}

void addTo(EbrReport& report, const GraftReport& graft) {
  report.oldCrc = nameOf(graft.oldCrc.verdict);
  report.givenWords = graft.givenWords;
  report.writtenWords = graft.writtenWords;
  report.warnings = warningsOf(graft, report.identifier);
}

}  // namespace

MemoryGraft graftInMemory(std::vector<unsigned char>& bitstream,
                          const std::vector<std::string>& wids, int dataWidth,
                          const std::vector<std::string>& words) {
  MemoryGraft graft;
  MemoryInputs inputs;
  const InputFault fault = takeMemoryInputs(wids, dataWidth, words, inputs);
  if (fault.kind != InputFault::Kind::NONE) {
    graft.error = wids.empty() ? "there are no wids" : textOf(fault);
    return graft;
  }
  graft.warnings = warningsOf(inputs);
  Bitstream stream(0);
  copyBytes(bitstream, stream);
  const auto found = [&](std::size_t, const Lookup& lookup) {
    graft.ebrs.push_back(reportOf(lookup));
  };
  const auto grafted = [&](std::size_t, const GraftReport& report) {
    addTo(graft.ebrs.back(), report);
  };
  const auto lost = [&](const HiddenCommand& command) {
    graft.warnings.push_back(textOf(command, stream, true));
  };
  const auto lostCrcs = [&](std::uint64_t numEbrs) {
    graft.warnings.push_back(lostCrcsWarning(numEbrs));
  };
  const std::optional<Lookup> failed =
      graftEbrs(stream, inputs.wids, *inputs.words, {found, grafted, lost, lostCrcs});
  if (!failed) {
    std::copy_n(stream.getBytes(), bitstream.size(), bitstream.begin());
    return graft;
  }
  if (!failed->isFound()) graft.ebrs.push_back(reportOf(*failed));
  graft.error = graft.ebrs.back().error;
  return graft;
}
