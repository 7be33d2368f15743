// How many bits the identifiers of a bitstream have, which the bitstream doesn't say.
#ifndef RAMGRAFT_EBR_WIDTH_H
#define RAMGRAFT_EBR_WIDTH_H

#include <cstdint>
#include <vector>

#include "base/ramgraftbstream.h"

/// A width of identifiers, and how many commands of its walk have a data section.
struct WidthFinding {
  std::uint64_t identifierBits = 0;
  std::uint64_t numEbrs = 0;  ///< 0 if no width gives any
  /// Of the other widths the one with the most EBRs, of equally good ones the smallest; 0 and 0 if
  /// no other width gives any.
  std::uint64_t otherBits = 0;
  std::uint64_t otherEbrs = 0;
};

/// Of the widths 1 to 64 the one at which the most commands of the walk have a data section, of
/// equally good ones the smallest. `allSections` is what findAllSections() gives.
WidthFinding findIdentifierBits(const Bitstream& bitstream,
                                const std::vector<std::uint64_t>& allSections);

#endif
