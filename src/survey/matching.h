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

/// Looks for each column of the words among the contents of `ebrs`, commands without fault. Only
/// the column's own bits are compared. Columns that are found nowhere are in none of the matches.
std::vector<ColumnMatch> matchColumns(const Bitstream& bitstream,
                                      const std::vector<EbrCommand>& ebrs,
                                      const MemoryWords& words);

#endif
