#include "inspect/unlocated.h"

#include <algorithm>

#include "reports/text.h"

namespace {

using std::to_string;

// The first few of the items as text.
template <typename Items, typename ToText>
std::string enumerate(const Items& items, const ToText& toText) {
  constexpr std::size_t MOST_SHOWN = 4;
  std::string text;
  for (std::size_t i = 0; i < std::min(items.size(), MOST_SHOWN); ++i) {
    text += (i == 0 ? "" : ", ") + toText(items[i]);
  }
  return items.size() > MOST_SHOWN ? text + ", ..." : text;
}

// " of words 4 to 7", or nothing for all words.
std::string wordsOf(const Fit& fit, const KnownWords& known) {
  if (fit.numWords == known.numWords) return "";
  if (fit.numWords == 1) return " of word " + to_string(fit.firstWord);
  return " of words " + to_string(fit.firstWord) + " to " +
         to_string(fit.firstWord + fit.numWords - 1);
}

std::string explainAlike(const Fit& fit, const KnownWords& known, const Identifiers& identifiers) {
  const auto match =
      std::ranges::find_if(fit.matches, [](const ColumnMatch& each) { return !each.isUnique(); });
  const auto wordBits = [&](std::uint64_t column) {
    const std::uint64_t low = column * fit.split.bitsPerEbr;
    const std::uint64_t high = low + fit.split.bitsPerEbr - 1;
    return high == low ? to_string(low) : to_string(high) + ":" + to_string(low);
  };
  const std::string words = wordsOf(fit, known);
  return "the contents can't distinguish EBRs: bits " + enumerate(match->columns, wordBits) +
         (words.empty() ? " of the words" : words) + " are found in " +
         enumerate(match->ebrs, identifiers);
}

std::string explain(const Shortfall& shortfall, const KnownWords& known) {
  using Kind = Shortfall::Kind;
  const bool isTooDeep = shortfall.largestRoom < known.numWords;
  const std::string tooDeep = "no EBR has room for one bit of " + countOf(known.numWords, "word") +
                              ", the largest has " + countOf(shortfall.largestRoom, "bit");
  switch (shortfall.kind) {
    case Kind::NO_ROOM:
      return (isTooDeep ? tooDeep + "; " : "") + "all EBRs together hold " +
             countOf(shortfall.wholeRoom, "bit") + ", the words have " +
             to_string(known.numWords * known.wordBits);
    case Kind::REVERSED_BYTES:
      return "found with the bytes of every word in reverse order: turn them round in the file";
    case Kind::REVERSED_BITS:
      return "found with the bits of every word in reverse order: turn them round in the file";
    case Kind::INTERLEAVED:
      return "even and odd words are found, but apart: two banks are a memory of half as many "
             "words "
             "of " +
             to_string(known.wordBits * 2) + " bits; join every two words to one";
    case Kind::FIRST_WORDS:
      return "only words 0 to " + to_string(shortfall.words - 1) + " of " +
             to_string(known.numWords) + " are found (" + describe(shortfall.split) + ")";
    case Kind::SOME_COLUMNS: {
      const Fit& best = shortfall.best;
      return "in the best try " + describe(best.split) + ": " + to_string(best.numFound) + " of " +
             countOf(best.split.numEbrs, "column") + wordsOf(best, known) + " found";
    }
    default:
      return "no column found, in any split: another bitstream, or other contents" +
             (isTooDeep ? "; " + tooDeep + ", so parts were looked for" : "");
  }
}

}  // namespace

std::string describe(const Split& split) {
  return countOf(split.numEbrs, "EBR") + (split.numEbrs == 1 ? " holds " : " hold ") +
         countOf(split.bitsPerEbr, "bit") + " of each word" + (split.numEbrs == 1 ? "" : " each");
}

std::string reasonOf(const Location& location, FitSearch& search, KnownWords& known,
                     const Identifiers& identifiers) {
  switch (location.outcome) {
    case Location::Outcome::MANY_WAYS:
      return "more than one way fits" + wordsOf(location.parts.back(), known) + ": " +
             enumerate(location.ways, describe);
    case Location::Outcome::ALIKE:
      return describe(location.parts.back().split) + ", but " +
             explainAlike(location.parts.back(), known, identifiers);
    case Location::Outcome::TWICE:
      return "EBR " + identifiers(location.ebr) + " is found for two parts";
    default:
      return explain(findShortfall(search, known, location.best), known);
  }
}
