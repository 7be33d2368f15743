#include "run/ramgraft.h"

#include <algorithm>
#include <new>
#include <string>
#include <string_view>

#include "console/lines.h"
#include "ebr/graft.h"
#include "files/process.h"
#include "inputs/loading.h"
#include "reports/ebrs.h"
#include "reports/text.h"
#include "steps/printing.h"

namespace {

// A data width that isn't shared out evenly makes groups of a size that nobody meant.
void explainGroups(const std::string& widFile, const MemoryInputs& inputs) {
  const auto dataWidth = static_cast<std::uint64_t>(inputs.widths.data);
  if (dataWidth % inputs.wids.size() == 0) return;
  printDiagnostic("dw", std::to_string(dataWidth), " isn't a multiple of the ",
                  countOf(inputs.wids.size(), "EBR"), " of ", widFile);
}

bool load(const InputNames& names, const std::string& outputFile, MemoryInputs& inputs,
          Bitstream& bitstream, FileIdentity& bitFile, Update& update) {
  const InputFault fault = loadMemoryInputs(names, inputs);
  if (!printInputFault(fault)) {
    if (fault.kind == InputFault::Kind::INDIVISIBLE_WORD) explainGroups(names.wid, inputs);
    return false;
  }
  printMemoryWarnings(inputs);
  return printInputFault(loadBitstream(names.bit, outputFile, bitstream, bitFile, update));
}

// Contents that look like an address can hide an EBR, also those that the run has written.
void explain(const Lookup& failed, const Bitstream& bitstream, const std::string& bitFile) {
  const SectionTable table(bitstream, findAllSections(bitstream), failed.wid.size());
  const std::optional<HiddenCommand> hidden = table.findHidden(failed.wid);
  if (hidden) {
    printDiagnostic(textOf(*hidden, bitstream, false), "; ramgraft-load finds it");
  } else if (!failed.isFound()) {
    printDiagnostic(hintOf(failed, bitstream, bitFile));
  }
}

bool replaceAllContents(const MemoryInputs& inputs, const std::string& bitFile,
                        Bitstream& bitstream) {
  const std::string numEbrs = std::to_string(inputs.wids.size());
  const auto printProgress = [&](std::size_t ebr, const Lookup& lookup) {
    printLine("STATUS: Replacing contents of EBR ID# ", lookup.wid, " (", std::to_string(ebr + 1),
              "/", numEbrs, ")");
  };
  const auto printWarnings = [&](std::size_t ebr, const GraftReport& report) {
    for (const std::string& warning : warningsOf(report, inputs.wids[ebr])) printWarning(warning);
  };
  const auto printLost = [&](const HiddenCommand& lost) {
    printWarning(textOf(lost, bitstream, true));
  };
  const auto printLostCrcs = [](std::uint64_t lost) { printWarning(lostCrcsWarning(lost)); };
  const std::optional<Lookup> failed =
      graftEbrs(bitstream, inputs.wids, *inputs.words,
                {printProgress, printWarnings, printLost, printLostCrcs});
  if (!failed) return true;
  const bool isMissing = failed->outcome == SectionChain::Outcome::NO_SECTION;
  printLine(isMissing ? "ERROR : " : "ERROR: ", detailOf(*failed, bitstream));
  explain(*failed, bitstream, bitFile);
  return false;
}

bool graft(const InputNames& names, const std::string& outputFile) {
  Bitstream bitstream(0);
  MemoryInputs inputs;
  FileIdentity bitFile;
  Update update;  // until the output has been written
  printLine("STATUS: loading input files");
  if (!load(names, outputFile, inputs, bitstream, bitFile, update)) return false;
  printLine("STATUS: input files loaded successfully");
  const unsigned long origNumBits = bitstream.getNumBits();
  printLine("STATUS: processing bitstream");
  if (!replaceAllContents(inputs, names.bit, bitstream)) return false;
  // GCOVR_EXCL_START: nothing in a run changes the size of a stream
  if (bitstream.getNumBits() != origNumBits) {
    printLine("ERROR: number of bits in new bitstream does not match old bitstream!");
    return false;
  }
  // GCOVR_EXCL_STOP
  return writeStream(outputFile, bitstream, {bitFile, update.old, inputs.files});
}

void printUsageFault(int argc, const char* const argv[]) {
  const auto isOption = [](std::string_view argument) { return argument.starts_with('-'); };
  const auto* const option = std::find_if(argv + std::min(argc, 1), argv + argc, isOption);
  if (option != argv + argc) {
    printDiagnostic(*option, ": there are no options; man ramgraft explains");
  } else {
    printDiagnostic("there are ", std::to_string(std::max(argc - 1, 0)),
                    " arguments, and must be 4; man ramgraft explains");
  }
}

}  // namespace

int runRamgraft(int argc, const char* const argv[]) {
  prepareProcess();
  if (argc != 5) {
    printLine("Usage: ramgraft <input_file.bit> <file.wid> <file.mem> <output_file.bit>");
    printUsageFault(argc, argv);
    return 1;
  }
  constexpr std::string_view SELF_CHECK = "TEST";
  if (argv[1] == SELF_CHECK && argv[2] == SELF_CHECK && argv[3] == SELF_CHECK) {
    runUnitTests();
    return 0;
  }
  try {
    return graft({argv[1], argv[2], argv[3]}, argv[4]) ? 0 : 1;
  } catch (const std::bad_alloc&) {
    printLine("ERROR: out of memory");
    return 1;
  }
}
