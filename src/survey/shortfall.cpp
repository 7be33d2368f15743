#include "survey/shortfall.h"

#include <algorithm>
#include <bit>

namespace {

using Kind = Shortfall::Kind;

bool isFound(FitSearch& search, const KnownWords& known, Rearrangement rearrangement) {
  KnownWords other = rearrange(known, rearrangement);
  const Location location = search.locate(other);
  return location.outcome == Location::Outcome::FOUND &&
         !search.isTooShort(location.parts.front().columnBits());
}

// How far the columns of a unique fit go on, in the same EBRs, through the words that follow.
std::uint64_t countWords(const FitSearch& search, KnownWords& known, const Fit& fit) {
  const std::uint64_t bits = fit.split.bitsPerEbr;
  known.words.deal(fit.split.numEbrs, bits);
  std::uint64_t words = known.numWords - fit.firstWord;
  const std::vector<std::size_t> ebrs = fit.getEbrs();
  for (std::size_t column = 0; column < ebrs.size(); ++column) {
    const ColumnBits compared = {fit.firstWord * bits, words * bits};
    words = std::min(words, countEqualBits(search.getBitstream(), search.getEbrs()[ebrs[column]],
                                           known.words, column, compared) /
                                bits);
  }
  return words;
}

class FirstWords {
 public:
  FirstWords(FitSearch& itsSearch, KnownWords& words) : search(itsSearch), known(words) {}

  // The most words from the first one on that are found, dealt out in any one way; sets `split` to
  // that. 0 if there are too few to tell.
  std::uint64_t count(Split& split) {
    for (std::uint64_t depth = std::bit_ceil(known.numWords) / 2; depth != 0; depth /= 2) {
      for (const Split& each : search.splitsOf(known.wordBits)) {
        if (!isThere(0, depth, each)) continue;
        split = each;
        const std::uint64_t inSameEbrs = countWords(search, known, fit);
        return std::max(inSameEbrs, countParts(depth, each));
      }
    }
    return 0;
  }

 private:
  // Looks for words and keeps where they are.
  bool isThere(std::uint64_t firstWord, std::uint64_t numWords, const Split& split) {
    if (firstWord + numWords > known.numWords) return false;
    fit = search.fit(known, firstWord, numWords, split);
    return fit.isUnique() && !search.isTooShort(fit.columnBits());
  }

  // The words of the first parts of so many words each, and of the beginning of the next.
  std::uint64_t countParts(std::uint64_t depth, const Split& split) {
    std::uint64_t words = depth;
    while (isThere(words, depth, split)) words += depth;
    for (depth /= 2; depth != 0; depth /= 2) {
      if (isThere(words, depth, split)) return words + countWords(search, known, fit);
    }
    return words;
  }

  FitSearch& search;
  KnownWords& known;
  Fit fit;
};

Kind kindOf(FitSearch& search, KnownWords& known, Shortfall& shortfall) {
  if (shortfall.wholeRoom < known.numWords * known.wordBits) return Kind::NO_ROOM;
  if (known.wordBits % 8 == 0 && isFound(search, known, Rearrangement::REVERSED_BYTES)) {
    return Kind::REVERSED_BYTES;
  }
  if (isFound(search, known, Rearrangement::REVERSED_BITS)) return Kind::REVERSED_BITS;
  if (known.numWords > 1 && isFound(search, known, Rearrangement::EVEN_WORDS) &&
      isFound(search, known, Rearrangement::ODD_WORDS)) {
    return Kind::INTERLEAVED;
  }
  shortfall.words = FirstWords(search, known).count(shortfall.split);
  if (shortfall.words != 0) return Kind::FIRST_WORDS;
  return shortfall.best.numFound != 0 ? Kind::SOME_COLUMNS : Kind::NOTHING;
}

}  // namespace

Shortfall findShortfall(FitSearch& search, KnownWords& known, const Fit& best) {
  Shortfall shortfall;
  shortfall.best = best;
  for (const EbrCommand& ebr : search.getEbrs()) {
    shortfall.largestRoom = std::max(shortfall.largestRoom, roomOf(ebr));
    shortfall.wholeRoom += roomOf(ebr);
  }
  shortfall.kind = kindOf(search, known, shortfall);
  return shortfall;
}
