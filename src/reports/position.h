// A place in an input file, as messages name it.
#ifndef RAMGRAFT_REPORTS_POSITION_H
#define RAMGRAFT_REPORTS_POSITION_H

#include <cstdint>
#include <string>

/// The beginning of a message about a file: "FILE: ", "FILE, line N: " or "FILE, line N, column C:
/// ". Lines and columns (bytes of a line) count from 1; 0 leaves them out.
std::string positionText(const std::string& file, std::uint64_t line = 0, std::uint64_t column = 0);

#endif
