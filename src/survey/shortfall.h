// Why known words aren't found in a bitstream.
#ifndef RAMGRAFT_SURVEY_SHORTFALL_H
#define RAMGRAFT_SURVEY_SHORTFALL_H

#include <cstdint>

#include "survey/fitting.h"

/// What comes closest to the words being found.
struct Shortfall {
  enum class Kind {
    NO_ROOM,         ///< all EBRs together hold fewer bits than the words have
    REVERSED_BYTES,  ///< found with the bytes of every word in reverse order
    REVERSED_BITS,   ///< found with the bits of every word in reverse order
    INTERLEAVED,     ///< even and odd words are found, each as a memory of their own
    FIRST_WORDS,     ///< the columns of the first `words` words are found, dealt out as in `split`
    SOME_COLUMNS,    ///< `best` has some of the columns
    NOTHING,
  };

  Kind kind = Kind::NOTHING;
  std::uint64_t words = 0;
  Split split;
  Fit best;                       ///< without matches
  std::uint64_t largestRoom = 0;  ///< bits of contents of the EBR that holds the most
  std::uint64_t wholeRoom = 0;    ///< bits of contents of all EBRs
};

/// Finds out for words that `search` hasn't found; `best` is its best try.
Shortfall findShortfall(FitSearch& search, KnownWords& known, const Fit& best);

#endif
