// KnownWords: words that a memory of a bitstream is known to contain.
#ifndef RAMGRAFT_SURVEY_KNOWNWORDS_H
#define RAMGRAFT_SURVEY_KNOWNWORDS_H

#include <cstdint>

#include "ebr/memorywords.h"

/// The words of a memory from its first one on.
struct KnownWords {
  MemoryWords words{1, 1};  ///< without gaps; bits that make whole bytes may follow the last one
  std::uint64_t wordBits = 0;
  std::uint64_t numWords = 0;
};

/// Other words that can be made of the bits of known ones.
enum class Rearrangement { REVERSED_BYTES, REVERSED_BITS, EVEN_WORDS, ODD_WORDS };

/// Makes them. Words whose bytes are reversed must have whole bytes, odd words need at least two.
KnownWords rearrange(const KnownWords& known, Rearrangement rearrangement);

#endif
