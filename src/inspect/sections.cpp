#include "inspect/sections.h"

#include "companion/status.h"
#include "console/lines.h"
#include "ebr/chain.h"
#include "reports/position.h"
#include "reports/text.h"
#include "survey/width.h"

namespace {

constexpr std::uint64_t MOST_IDENTIFIER_BITS = 64;

std::optional<SectionTable> refuseOverlap(SectionTable table, const OpenStream& stream) {
  if (!table.overlapsTooMuch()) return table;
  refuse(positionText(stream.name) + "the contents of its EBRs overlap too often");
  return std::nullopt;
}

}  // namespace

void addIdentifierBits(CLI::App& app, std::uint64_t& identifierBits) {
  addNumber(app, "--id-bits", "Bits of an identifier (1 to 64); otherwise they are found",
            MOST_IDENTIFIER_BITS, identifierBits);
}

std::optional<SectionTable> findSections(const OpenStream& stream, std::uint64_t identifierBits,
                                         bool isNoneFine) {
  const std::vector<std::uint64_t> allSections = findAllSections(stream.bitstream);
  if (identifierBits == 0) {
    const WidthFinding found = findIdentifierBits(stream.bitstream, allSections);
    if (found.numEbrs == 0 && isNoneFine) return SectionTable(stream.bitstream, {}, 1);
    if (found.numEbrs == 0) {
      refuse(positionText(stream.name) +
             "no EBR contents found, whatever the width of the identifiers");
      return std::nullopt;
    }
    identifierBits = found.identifierBits;
    printDiagnostic("NOTE: ", positionText(stream.name), "taking identifiers of ",
                    countOf(identifierBits, "bit"), ", which give the most EBRs (",
                    std::to_string(found.numEbrs), "); --id-bits N says otherwise");
  }
  return refuseOverlap(SectionTable(stream.bitstream, allSections, identifierBits), stream);
}
