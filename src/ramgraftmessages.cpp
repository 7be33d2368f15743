#include "ramgraftmessages.h"

#include <stdio_ext.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

namespace {

std::string makeLine(std::initializer_list<std::string_view> pieces) {
  std::string line;
  for (const std::string_view piece : pieces) line += piece;
  line += '\n';
  return line;
}

bool write(std::FILE* stream, const std::string& line) {
  return std::fwrite(line.data(), 1, line.size(), stream) == line.size();
}

void tellLoss() {
  static bool isTold = false;
  const int error = errno;
  if (std::exchange(isTold, true)) return;
  printWarning("can't write to standard output: ", std::strerror(error));
}

}  // namespace

void printPieces(std::initializer_list<std::string_view> pieces) {
  // Whole lines are written together, and not more than a pipe takes in one piece: another
  // process's line can't stand in the middle of one.
  constexpr std::size_t LARGEST_WRITE = 4096;
  const std::string line = makeLine(pieces);
  if (__fpending(stdout) + line.size() > LARGEST_WRITE) flushMessages();
  if (!write(stdout, line)) tellLoss();
}

void flushMessages() {
  if (std::fflush(stdout) != 0) tellLoss();
}

void printDiagnosticPieces(std::initializer_list<std::string_view> pieces) {
  flushMessages();
  static_cast<void>(write(stderr, makeLine(pieces)));
}
