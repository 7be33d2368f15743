#include "inspect/opening.h"

#include "console/lines.h"
#include "ebr/chain.h"
#include "inputs/loading.h"
#include "inspect/texts.h"
#include "inspect/width.h"

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
  if (identifierBits != 0) return SectionTable(bitstream, allSections, identifierBits);
  const WidthFinding found = findIdentifierBits(bitstream, allSections);
  if (found.numEbrs == 0) {
    printDiagnostic("ERROR: ", fileName,
                    ": no EBR contents found, whatever the width of the identifiers");
    return std::nullopt;
  }
  printDiagnostic("NOTE: ", fileName, ": taking identifiers of ",
                  countOf(found.identifierBits, "bit"), ", which give the most EBRs (",
                  std::to_string(found.numEbrs), "); --id-bits N says otherwise");
  return SectionTable(bitstream, allSections, found.identifierBits);
}
