#include "run/ramgraft.h"

#include <new>
#include <string>
#include <string_view>

#include "base/ramgraftbstream.h"
#include "console/lines.h"
#include "ebr/chain.h"
#include "files/descriptor.h"
#include "steps/ramgraftcheck.h"
#include "steps/ramgraftebr.h"
#include "steps/ramgraftfiles.h"
#include "steps/ramgrafttraverse.h"

namespace {

// Moves the cursor behind the identifier of the EBR's address section.
bool moveToEbr(const std::string& wid, EbrSectionMap& sections, BitstreamTraverser& traverser) {
  std::uint64_t identifierIndex = 0;
  switch (sections.find(wid, identifierIndex)) {
    case EbrSectionMap::Outcome::FOUND:
      traverser.setBitIndex(identifierIndex + wid.size());
      return true;
    case EbrSectionMap::Outcome::NO_SECTION:
      printLine("ERROR : didn't find EBR address section for wid ", wid);
      return false;
    case EbrSectionMap::Outcome::RAN_OFF_END:
      break;
  }
  printLine("ERROR: ran off end of bit file looking for wid ", wid);
  return false;
}

bool replaceAllContents(const RunInputs& inputs, Bitstream& bitstream) {
  BitstreamTraverser traverser(&bitstream);
  EbrSectionMap sections(bitstream, inputs.wids);
  EbrColumns columns(*inputs.contents);
  const std::size_t numEbrs = inputs.wids.size();
  for (std::size_t i = 0; i < numEbrs; ++i) {
    const std::string& wid = inputs.wids[i];
    if (!moveToEbr(wid, sections, traverser)) return false;
    printLine("STATUS: Replacing contents of EBR ID# ", wid, " (", std::to_string(i + 1), "/",
              std::to_string(numEbrs), ")");
    int dataCount = 0;
    if (!findEbrDataSection(traverser, dataCount)) return false;
    const std::uint64_t payload = traverser.getBitIndex();
    if (!replaceEbrContents(traverser, columns, i, dataCount, wid)) return false;
    // The new contents may spell an address section, or break one that the old ones spelled.
    sections.bitsChanged(payload, traverser.getBitIndex());
  }
  return true;
}

bool graft(const std::string& bitFile, const std::string& widFile, const std::string& memFile,
           const std::string& outputFile) {
  Bitstream bitstream(0);
  RunInputs inputs;
  printLine("STATUS: loading input files");
  if (!loadRunInputs(widFile, memFile, bitFile, inputs, bitstream)) return false;
  printLine("STATUS: input files loaded successfully");
  const unsigned long origNumBits = bitstream.getNumBits();
  printLine("STATUS: processing bitstream");
  if (!replaceAllContents(inputs, bitstream)) return false;
  if (bitstream.getNumBits() != origNumBits) {
    printLine("ERROR: number of bits in new bitstream does not match old bitstream!");
    return false;
  }
  return writeOutput(outputFile, bitstream, {bitFile, inputs.bitFile});
}

}  // namespace

int runRamgraft(int argc, const char* const argv[]) {
  prepareStandardDescriptors();
  if (argc != 5) {
    printLine("Usage: ramgraft <input_file.bit> <file.wid> <file.mem> <output_file.bit>");
    return 1;
  }
  constexpr std::string_view SELF_CHECK = "TEST";
  if (argv[1] == SELF_CHECK && argv[2] == SELF_CHECK && argv[3] == SELF_CHECK) {
    runUnitTests();
    return 0;
  }
  try {
    return graft(argv[1], argv[2], argv[3], argv[4]) ? 0 : 1;
  } catch (const std::bad_alloc&) {
    printLine("ERROR: out of memory");
    return 1;
  }
}
