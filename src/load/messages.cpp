#include "load/messages.h"

#include "console/lines.h"

void Messages::warn(const std::string& sentence) {
  warnings.push_back(sentence);
  printWarning(sentence);
}

void Messages::note(const std::string& sentence) const {
  if (!isQuiet) printDiagnostic("NOTE: ", sentence);
}
