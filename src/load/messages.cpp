#include "load/messages.h"

#include "console/lines.h"
#include "reports/text.h"

void Messages::warn(const std::string& sentence) {
  warnings.push_back(sentence);
  printWarning(withoutControls(sentence));
}

void Messages::note(const std::string& sentence) const {
  if (!isQuiet) printDiagnostic("NOTE: ", withoutControls(sentence));
}
