// In which EBRs two bitstreams differ.
#ifndef RAMGRAFT_SURVEY_DIFFERENCES_H
#define RAMGRAFT_SURVEY_DIFFERENCES_H

#include <cstdint>
#include <vector>

#include "ebr/sectiontable.h"

/// Bits in which two streams of the same size differ.
struct BitDifferences {
  std::uint64_t count = 0;
  std::uint64_t first = 0;  ///< bit index, if there is one

  /// Adds those of bits that come after all of these.
  void add(const BitDifferences& later);
};

/// An EBR that differs.
struct ChangedEbr {
  EbrCommand command;
  std::uint64_t payloadBits = 0;
  bool isCrcChanged = false;
};

/// How a stream differs from an old one.
struct Differences {
  std::uint64_t numEbrs = 0;        ///< of the old stream
  std::vector<ChangedEbr> changed;  ///< in stream order
  BitDifferences outside;           ///< of all payloads and CRC fields

  bool isNone() const { return changed.empty() && outside.count == 0; }
};

/// Compares the old stream's EBRs with the same bits of `changed`, which must have the same size,
/// and all other bits, too.
Differences compareStreams(const SectionTable& old, const Bitstream& changed);

#endif
