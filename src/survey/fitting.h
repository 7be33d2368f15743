// In which parts of equal depth, dealt out to EBRs in which way, a bitstream holds known words.
#ifndef RAMGRAFT_SURVEY_FITTING_H
#define RAMGRAFT_SURVEY_FITTING_H

#include <cstdint>
#include <optional>
#include <vector>

#include "survey/knownwords.h"
#include "survey/matching.h"

/// A way of dealing out words: `numEbrs` EBRs hold `bitsPerEbr` adjacent bits of each.
struct Split {
  std::uint64_t numEbrs = 0;
  std::uint64_t bitsPerEbr = 0;
};

/// Consecutive words dealt out in one way, and where their columns were found.
struct Fit {
  std::uint64_t firstWord = 0;
  std::uint64_t numWords = 0;
  Split split;
  std::uint64_t numFound = 0;  ///< columns
  std::vector<ColumnMatch> matches;

  /// Bits of a column.
  std::uint64_t columnBits() const { return numWords * split.bitsPerEbr; }
  bool isWhole() const { return numFound == split.numEbrs; }
  bool isUnique() const;
  /// The numbers of the EBRs in width-file order. The fit must be unique.
  std::vector<std::size_t> getEbrs() const;
};

/// Where words are.
struct Location {
  enum class Outcome {
    FOUND,
    MANY_WAYS,  ///< `parts.back()` fits in more than one of `ways`
    ALIKE,      ///< for `parts.back()`, contents can't distinguish EBRs
    TWICE,      ///< `ebr` was found for two parts
    NOT_FOUND,
  };

  Outcome outcome = Outcome::NOT_FOUND;
  std::vector<Fit> parts;   ///< lowest words first; all of them if FOUND
  std::vector<Split> ways;  ///< MANY_WAYS: at least two
  std::size_t ebr = 0;      ///< TWICE: its number
  Fit best;                 ///< NOT_FOUND: the try that found the most of its columns, of those
                            ///< that aren't too short; no matches
};

/// Looks for words among the EBRs of a bitstream, commands without fault. Both must outlive it.
class FitSearch {
 public:
  FitSearch(const Bitstream& stream, const std::vector<EbrCommand>& commands)
      : bitstream(stream), ebrs(commands) {}

  /// Tries parts of a power of two words each, the last of which may have fewer, the deepest ones
  /// first, and ends at the first depth at which every part is found. A part is dealt out like the
  /// first one if that fits, else in any other way that needs at least a frame of each EBR. How the
  /// words are dealt out afterwards isn't defined.
  Location locate(KnownWords& known);
  /// Tries the words [firstWord, firstWord + numWords), which must be there, in one way.
  Fit fit(KnownWords& known, std::uint64_t firstWord, std::uint64_t numWords, const Split& split);
  /// The ways of dealing out words of so many bits to no more EBRs than there are.
  std::vector<Split> splitsOf(std::uint64_t wordBits) const;

  const Bitstream& getBitstream() const { return bitstream; }
  const std::vector<EbrCommand>& getEbrs() const { return ebrs; }
  /// True if so many bits of a column would be found by chance too easily: fewer than twice the
  /// binary logarithm of how many columns were compared with how many EBRs until now.
  bool isTooShort(std::uint64_t columnBits) const;

 private:
  struct Ways;

  Ways findWays(KnownWords& known, std::uint64_t firstWord, std::uint64_t numWords,
                std::optional<Split> preferred, Fit& best);
  bool tryDepth(KnownWords& known, std::uint64_t depth, Location& location);

  const Bitstream& bitstream;
  const std::vector<EbrCommand>& ebrs;
  std::uint64_t numCompared = 0;
};

#endif
