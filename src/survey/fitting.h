// In which ways known words can be dealt out to the EBRs of a bitstream so that each EBR holds what
// it would get.
#ifndef RAMGRAFT_SURVEY_FITTING_H
#define RAMGRAFT_SURVEY_FITTING_H

#include <cstdint>
#include <vector>

#include "survey/matching.h"

/// One way of dealing out the words, and where the columns were found.
struct Fit {
  std::uint64_t bitsPerEbr = 0;
  std::uint64_t numColumns = 0;
  std::uint64_t numFound = 0;
  std::vector<ColumnMatch> matches;

  bool isWhole() const { return numFound == numColumns; }
  bool isUnique() const;
};

/// The ways in which every column was found, and of the others the best.
struct Fits {
  std::vector<Fit> unique, ambiguous;
  Fit best;

  void add(Fit fit);
};

/// Tries every number of EBRs that divides `dataWidth`, up to more than any device has. The words
/// are of `dataWidth` bits each; how they are dealt out afterwards isn't defined.
Fits findFits(const Bitstream& bitstream, const std::vector<EbrCommand>& ebrs, MemoryWords& words,
              std::uint64_t dataWidth);

#endif
