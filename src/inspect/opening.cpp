#include "inspect/opening.h"

#include "console/lines.h"
#include "ebr/chain.h"
#include "inputs/loading.h"
#include "inspect/texts.h"
#include "inspect/width.h"

namespace {

// Payloads overlap when contents look like commands: now and then one, in a file made for it
// thousands, each of up to half a megabyte. False if reading them all would take minutes.
bool isBearable(const SectionTable& table) {
  constexpr std::uint64_t MOST_OVERLAP = 16;
  constexpr std::uint64_t ALWAYS_BEARABLE_BITS = UINT64_C(1) << 31;
  const std::uint64_t most = table.getBitstream().getNumBits() * MOST_OVERLAP;
  std::uint64_t payloadBits = 0;
  for (std::size_t i = 0; i < table.size(); ++i) {
    const EbrCommand command = table.getCommand(i);
    if (command.fault == CommandFault::NONE) payloadBits += command.payloadBits();
  }
  return payloadBits <= most + ALWAYS_BEARABLE_BITS;
}

// The table, unless it is unbearable.
std::optional<SectionTable> check(SectionTable table, const std::string& fileName) {
  if (isBearable(table)) return table;
  printDiagnostic("ERROR: ", fileName, ": the contents of its EBRs overlap too often");
  return std::nullopt;
}

}  // namespace

bool isReadable(const InputFault& fault) {
  if (fault.kind == InputFault::Kind::NONE) return true;
  printDiagnostic("ERROR: ", wordsOf(fault));
  return false;
}

bool openStream(const std::string& fileName, OpenStream& stream) {
  return isReadable(loadBitstream(fileName, stream.bitstream, stream.identity));
}

std::optional<SectionTable> findSections(const Bitstream& bitstream, const std::string& fileName,
                                         std::uint64_t identifierBits) {
  const std::vector<std::uint64_t> allSections = findAllSections(bitstream);
  if (identifierBits != 0) {
    return check(SectionTable(bitstream, allSections, identifierBits), fileName);
  }
  const WidthFinding found = findIdentifierBits(bitstream, allSections);
  if (found.numEbrs == 0) {
    printDiagnostic("ERROR: ", fileName,
                    ": no EBR contents found, whatever the width of the identifiers");
    return std::nullopt;
  }
  printDiagnostic("NOTE: ", fileName, ": taking identifiers of ",
                  countOf(found.identifierBits, "bit"), ", which give the most EBRs (",
                  std::to_string(found.numEbrs), "); --id-bits N says otherwise");
  return check(SectionTable(bitstream, allSections, found.identifierBits), fileName);
}
