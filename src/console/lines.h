// The lines that a run prints: progress and errors on standard output, warnings and the system's
// reasons on standard error.
#ifndef RAMGRAFT_CONSOLE_LINES_H
#define RAMGRAFT_CONSOLE_LINES_H

#include <initializer_list>
#include <string>
#include <string_view>

/// Prints the pieces as one whole line on standard output and flushes it. When standard output
/// can't be written (a full disk, a closed pipe) the run goes on, since the output file matters
/// more than the report; the first such loss is told by a WARNING line on standard error.
void printPieces(std::initializer_list<std::string_view> pieces);

/// Prints the pieces as one whole line on standard error. Losing it is not an error.
void printDiagnosticPieces(std::initializer_list<std::string_view> pieces);

/// printPieces() for pieces of any kind that converts to text.
template <typename... Pieces>
void printLine(const Pieces&... pieces) {
  printPieces({std::string_view(pieces)...});
}

/// Prints "WARNING: " and the pieces as one line on standard error: something that the user should
/// look at, but that doesn't change what the run does.
template <typename... Pieces>
void printWarning(const Pieces&... pieces) {
  printDiagnosticPieces({"WARNING: ", std::string_view(pieces)...});
}

#endif
