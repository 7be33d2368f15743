// Comparing the listed EBRs' contents with those that a run would write.
#ifndef RAMGRAFT_SURVEY_COMPARISON_H
#define RAMGRAFT_SURVEY_COMPARISON_H

#include <optional>
#include <string>
#include <vector>

#include "ebr/memorywords.h"
#include "inputs/loading.h"
#include "survey/contents.h"

/// How the contents of one EBR differ from those that a run would write. Only payload words that
/// the run would write count.
struct EbrFinding {
  std::size_t ebr = 0;  ///< its number in the width file
  ContentsFacts facts;
  std::uint64_t writtenWords = 0;  ///< payload words that the run would write
  bool hasOtherWords = false;      ///< memory words differ
  bool hasBitsAfterWords = false;  ///< something after the last word isn't 0
  bool isListedAgain = false;      ///< the run would write other contents over these later

  /// True if there is more to say than which words differ.
  bool isRemarkable() const {
    return hasBitsAfterWords || facts.ninthBits != 0 || !facts.hasLastingCrc();
  }
  /// True if a run would change no bit.
  bool isSame() const { return !hasOtherWords && !isRemarkable(); }
};

/// How the contents of all listed EBRs differ, with the stream as it is.
struct Comparison {
  std::vector<EbrFinding>
      findings;  ///< of all listed EBRs, or of those before the first that can't be used
  /// The memory words with the bits that the stream contains in the place of those that a run would
  /// write. Bits that the run wouldn't write, or would write over at another listing of the same
  /// EBR, are those of the memory file. Nothing if no bit differs from the memory file.
  std::optional<MemoryWords> found;
};

Comparison compareEbrs(const Bitstream& bitstream, const MemoryInputs& inputs);

/// The number of the first word at or after `from` in which the two differ. Nothing if there is
/// none. They must have the same size and be dealt out alike.
std::optional<std::uint64_t> nextDifferentWord(const MemoryWords& a, const MemoryWords& b,
                                               std::uint64_t from);

#endif
