// Which EBRs of a bitstream hold given columns.
#ifndef RAMGRAFT_SURVEY_MATCHING_H
#define RAMGRAFT_SURVEY_MATCHING_H

#include <cstdint>
#include <vector>

#include "base/ramgraftbstream.h"
#include "ebr/command.h"
#include "ebr/memorywords.h"

/// Columns with the same bits, and the EBRs whose contents begin with them.
struct ColumnMatch {
  std::vector<std::uint64_t> columns;  ///< numbers as in a width file; at least one
  std::vector<std::size_t> ebrs;       ///< numbers in the list given; at least one

  /// True if the contents tell which EBR is which.
  bool isUnique() const { return columns.size() == 1 && ebrs.size() == 1; }
};

/// Bits of each column, which must be there.
struct ColumnBits {
  std::uint64_t first = 0;
  std::uint64_t count = 0;  ///< at least one
};

/// Bits of contents that a run can write to the EBR of a command without fault.
std::uint64_t roomOf(const EbrCommand& ebr);

/// Looks for `bits` of each column of the words at the beginning of the contents of `ebrs`,
/// commands without fault. Only these bits are compared. Columns that are found nowhere are in none
/// of the matches.
std::vector<ColumnMatch> matchColumns(const Bitstream& bitstream,
                                      const std::vector<EbrCommand>& ebrs, const MemoryWords& words,
                                      const ColumnBits& bits);

/// How many of `bits` of column number `column` the EBR's contents begin with.
std::uint64_t countEqualBits(const Bitstream& bitstream, const EbrCommand& ebr,
                             const MemoryWords& words, std::uint64_t column,
                             const ColumnBits& bits);

#endif
