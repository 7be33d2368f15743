#include "companion/messages.h"

#include "companion/json.h"
#include "console/lines.h"
#include "reports/text.h"

ExitStatus Messages::refuse(const std::string& reason) const {
  if (isJson) printFailure(reason);
  printDiagnostic("ERROR: ", withoutControls(reason));
  return ExitStatus::FAILED;
}

void Messages::warn(const std::string& sentence) {
  warnings.push_back(sentence);
  printWarning(withoutControls(sentence));
}

void Messages::note(const std::string& sentence) const {
  if (detail != Detail::QUIET) printDiagnostic("NOTE: ", withoutControls(sentence));
}

void Messages::remark(const std::string& sentence) const {
  if (detail == Detail::VERBOSE) note(sentence);
}
