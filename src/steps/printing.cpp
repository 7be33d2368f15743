#include "steps/printing.h"

#include "console/lines.h"
#include "files/replace.h"
#include "reports/inputs.h"
#include "reports/outputs.h"

bool printInputFault(const InputFault& fault) {
  using Kind = InputFault::Kind;
  if (fault.kind == Kind::NONE) return true;
  const std::string head = headOf(fault), detail = detailOf(fault);
  if (!head.empty()) printLine("ERROR: ", head);
  if (head.empty() || fault.kind == Kind::NOT_HEXADECIMAL) {
    printLine("ERROR: ", detail);
  } else if (!detail.empty()) {
    printDiagnostic(detail);
  }
  if (const std::string hint = hintOf(fault); !hint.empty()) printDiagnostic(hint);
  return false;
}

void printMemoryWarnings(const MemoryInputs& inputs) {
  for (const std::string& warning : warningsOf(inputs)) printWarning(warning);
}

// Prints without any memory: a run that has written its output reports it in any case.
bool writeStream(const std::string& fileName, const Bitstream& bitstream,
                 const StreamSources& sources) {
  if (const ReadFile* const other = findInput(fileName, sources.others)) {
    printLine("ERROR: Can't write file ", fileName);
    printDiagnostic(fileName, ": ", textOf(*other));
    return false;
  }
  const SignalHold signals;  // until the line is printed that reports what became of the file
  const ReplaceResult result = replaceFile(fileName, bitstream.getBytes(), bitstream.getNumBytes(),
                                           sources.bitFile, signals, sources.oldFile);
  if (result.isDone()) {
    printLine("STATUS: Successfully wrote ", fileName);
    return true;
  }
  printLine("ERROR: Can't write file ", fileName);
  if (result.outcome == ReplaceResult::Outcome::PART_WRITTEN) {
    printLine("ERROR: ", fileName, " is not as it was, ", MAY_BE_MIXED);
  }
  printDiagnostic(fileName, ": ", reasonOf(result));
  return false;
}
