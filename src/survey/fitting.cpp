#include "survey/fitting.h"

#include <algorithm>
#include <utility>

bool Fit::isUnique() const {
  return isWhole() && std::ranges::all_of(matches, &ColumnMatch::isUnique);
}

void Fits::add(Fit fit) {
  if (fit.isUnique()) {
    unique.push_back(std::move(fit));
  } else if (fit.isWhole()) {
    ambiguous.push_back(std::move(fit));
  } else if (best.numColumns == 0 ||
             fit.numFound * best.numColumns > best.numFound * fit.numColumns) {
    best = std::move(fit);
  }
}

Fits findFits(const Bitstream& bitstream, const std::vector<EbrCommand>& ebrs, MemoryWords& words,
              std::uint64_t dataWidth) {
  constexpr std::uint64_t MOST_EBRS = 65536;  // spares time for lines of millions of digits
  Fits fits;
  for (std::uint64_t count = 1; count <= std::min(dataWidth, MOST_EBRS); ++count) {
    if (dataWidth % count != 0) continue;
    Fit fit;
    fit.bitsPerEbr = dataWidth / count;
    fit.numColumns = count;
    words.deal(count, fit.bitsPerEbr);
    fit.matches = matchColumns(bitstream, ebrs, words);
    for (const ColumnMatch& match : fit.matches) fit.numFound += match.columns.size();
    fits.add(std::move(fit));
  }
  return fits;
}
