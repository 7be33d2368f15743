#include "console/lines.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

// One write for the whole line: another process's line can't stand in the middle of it.
bool writeLine(std::FILE* stream, std::initializer_list<std::string_view> pieces) {
  std::string line;
  for (const std::string_view piece : pieces) line += piece;
  line += '\n';
  const bool written = std::fwrite(line.data(), 1, line.size(), stream) == line.size();
  return std::fflush(stream) == 0 && written;
}

}  // namespace

void printPieces(std::initializer_list<std::string_view> pieces) {
  static bool isLossTold = false;
  if (writeLine(stdout, pieces) || isLossTold) return;
  isLossTold = true;
  printWarning("can't write to standard output: ", std::strerror(errno));
}

void printDiagnosticPieces(std::initializer_list<std::string_view> pieces) {
  static_cast<void>(writeLine(stderr, pieces));
}
