// The lines that a program prints: results and progress on standard output, warnings and the
// system's reasons on standard error.
#ifndef RAMGRAFT_CONSOLE_LINES_H
#define RAMGRAFT_CONSOLE_LINES_H

#include <cstddef>
#include <initializer_list>
#include <string_view>

/// The most pieces that a line can have.
constexpr std::size_t MOST_PIECES = 24;

/// Prints the pieces as one whole line on standard output. When standard output can't be written (a
/// full disk, a closed pipe) the run goes on, since the output file matters more than the report; a
/// WARNING line on standard error reports the first such loss. Needs no memory.
void printPieces(std::initializer_list<std::string_view> pieces);

/// Prints the pieces as one whole line on standard error. Losing it is not an error. Needs no
/// memory.
void printDiagnosticPieces(std::initializer_list<std::string_view> pieces);

/// printPieces() for pieces of any kind that converts to text.
template <typename... Pieces>
void printLine(const Pieces&... pieces) {
  static_assert(sizeof...(pieces) <= MOST_PIECES);
  printPieces({std::string_view(pieces)...});
}

/// printDiagnosticPieces() for pieces of any kind that converts to text.
template <typename... Pieces>
void printDiagnostic(const Pieces&... pieces) {
  static_assert(sizeof...(pieces) <= MOST_PIECES);
  printDiagnosticPieces({std::string_view(pieces)...});
}

/// Prints "WARNING: " and the pieces as one line on standard error: something that the user should
/// look at, but that doesn't change what the run does.
template <typename... Pieces>
void printWarning(const Pieces&... pieces) {
  printDiagnostic("WARNING: ", pieces...);
}

#endif
