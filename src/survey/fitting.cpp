#include "survey/fitting.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "ebr/format.h"

namespace {

constexpr std::uint64_t FRAME_CONTENT_BITS = 8 * FRAME_PAYLOAD_WORDS;
constexpr std::uint64_t MOST_EBRS = 65536;  // spares time for lines of millions of digits

// The number of an EBR that two of the parts, all unique, have; nothing if there is none.
std::optional<std::size_t> findTwice(const std::vector<Fit>& parts) {
  std::vector<std::size_t> all;
  for (const Fit& part : parts) {
    for (const ColumnMatch& match : part.matches) all.push_back(match.ebrs.front());
  }
  std::ranges::sort(all);
  const auto twice = std::ranges::adjacent_find(all);
  return twice == all.end() ? std::nullopt : std::optional(*twice);
}

}  // namespace

bool Fit::isUnique() const {
  return isWhole() && std::ranges::all_of(matches, &ColumnMatch::isUnique);
}

std::vector<std::size_t> Fit::getEbrs() const {
  std::vector<std::size_t> numbers(split.numEbrs);
  for (const ColumnMatch& match : matches) numbers[match.columns.front()] = match.ebrs.front();
  return numbers;
}

// The ways in which a part is found.
struct FitSearch::Ways {
  std::vector<Split> splits;
  bool areAllAlike = true;  // in none of them do the contents distinguish EBRs
  Fit first;                // alone kept, because each can have all EBRs in its matches
};

std::vector<Split> FitSearch::splitsOf(std::uint64_t wordBits) const {
  std::vector<Split> splits;
  for (std::uint64_t count = 1; count <= std::min({wordBits, ebrs.size(), MOST_EBRS}); ++count) {
    if (wordBits % count == 0) splits.push_back({count, wordBits / count});
  }
  return splits;
}

Fit FitSearch::fit(KnownWords& known, std::uint64_t firstWord, std::uint64_t numWords,
                   const Split& split) {
  Fit fit = {firstWord, numWords, split, 0, {}};
  known.words.deal(split.numEbrs, split.bitsPerEbr);
  fit.matches = matchColumns(bitstream, ebrs, known.words,
                             {firstWord * split.bitsPerEbr, numWords * split.bitsPerEbr});
  for (const ColumnMatch& match : fit.matches) fit.numFound += match.columns.size();
  numCompared += split.numEbrs * ebrs.size();
  return fit;
}

FitSearch::Ways FitSearch::findWays(KnownWords& known, std::uint64_t firstWord,
                                    std::uint64_t numWords, std::optional<Split> preferred,
                                    Fit& best) {
  Ways ways;
  const auto tryOne = [&](const Split& split) {
    Fit found = fit(known, firstWord, numWords, split);
    if (found.isWhole()) {
      ways.splits.push_back(split);
      if (found.isUnique()) ways.areAllAlike = false;
      if (ways.splits.size() == 1) ways.first = std::move(found);
    } else if (!isTooShort(found.columnBits()) &&
               found.numFound * std::max<std::uint64_t>(best.split.numEbrs, 1) >
                   best.numFound * split.numEbrs) {
      best = {firstWord, numWords, split, found.numFound, {}};
    }
  };
  if (preferred) tryOne(*preferred);
  if (!ways.splits.empty()) return ways;
  for (const Split& split : splitsOf(known.wordBits)) {
    // No memory has parts that need less than a frame: shorter columns would be found by chance.
    const bool isAll = numWords == known.numWords;
    if (isAll || numWords * split.bitsPerEbr >= FRAME_CONTENT_BITS) tryOne(split);
  }
  return ways;
}

bool FitSearch::tryDepth(KnownWords& known, std::uint64_t depth, Location& location) {
  using Outcome = Location::Outcome;
  Location found;
  found.outcome = Outcome::FOUND;
  std::optional<Split> preferred;
  for (std::uint64_t word = 0; word < known.numWords; word += depth) {
    const std::uint64_t count = std::min(depth, known.numWords - word);
    Ways ways = findWays(known, word, count, preferred, location.best);
    if (ways.splits.empty()) return false;
    if (found.outcome != Outcome::FOUND) continue;
    preferred = ways.splits.front();
    if (ways.areAllAlike) {
      found.outcome = Outcome::ALIKE;
    } else if (ways.splits.size() > 1) {
      found.outcome = Outcome::MANY_WAYS;
    }
    found.parts.push_back(std::move(ways.first));
    found.ways = std::move(ways.splits);
  }
  if (found.outcome == Outcome::FOUND) {
    if (const std::optional<std::size_t> twice = findTwice(found.parts)) {
      found.outcome = Outcome::TWICE;
      found.ebr = *twice;
    }
  }
  location = std::move(found);
  return true;
}

Location FitSearch::locate(KnownWords& known) {
  Location location;
  for (std::uint64_t depth = std::bit_ceil(known.numWords); depth != 0; depth /= 2) {
    if ((known.numWords - 1) / depth >= ebrs.size()) break;
    if (tryDepth(known, depth, location)) break;
  }
  return location;
}

bool FitSearch::isTooShort(std::uint64_t columnBits) const {
  return numCompared > 1 &&
         columnBits < 2 * static_cast<std::uint64_t>(std::bit_width(numCompared - 1));
}
