#include "survey/fitting.h"

#include <algorithm>
#include <utility>

ReachableEbrs findReachable(const SectionTable& table) {
  ReachableEbrs found;
  for (std::size_t i = 0; i < table.size(); ++i) {
    const EbrCommand command = table.getCommand(i);
    if (command.fault != CommandFault::NONE || table.isHidden(i)) continue;
    found.commands.push_back(command);
    found.identifiers.push_back(table.getIdentifier(i));
  }
  return found;
}

bool Fit::isUnique() const {
  return isWhole() && std::ranges::all_of(matches, &ColumnMatch::isUnique);
}

std::vector<std::string> Fit::identifiersIn(const ReachableEbrs& ebrs) const {
  std::vector<std::string> identifiers(numColumns);
  for (const ColumnMatch& match : matches) {
    identifiers[match.columns.front()] = ebrs.identifiers[match.ebrs.front()];
  }
  return identifiers;
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

Fits findFits(const Bitstream& bitstream, const ReachableEbrs& ebrs, MemoryWords& words,
              std::uint64_t dataWidth) {
  constexpr std::uint64_t MOST_EBRS = 65536;  // spares time for lines of millions of digits
  Fits fits;
  for (std::uint64_t count = 1; count <= std::min(dataWidth, MOST_EBRS); ++count) {
    if (dataWidth % count != 0) continue;
    Fit fit;
    fit.bitsPerEbr = dataWidth / count;
    fit.numColumns = count;
    words.deal(count, fit.bitsPerEbr);
    fit.matches = matchColumns(bitstream, ebrs.commands, words);
    for (const ColumnMatch& match : fit.matches) fit.numFound += match.columns.size();
    fits.add(std::move(fit));
  }
  return fits;
}
