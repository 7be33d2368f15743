// The stream is searched once, for all widths: whether a section begins at a bit doesn't depend on
// the width. The width decides only which of the sections the walk comes to.
#include "survey/width.h"

#include "ebr/walk.h"

WidthFinding findIdentifierBits(const Bitstream& bitstream,
                                const std::vector<std::uint64_t>& allSections) {
  constexpr std::uint64_t MOST_BITS = 64;
  WidthFinding best;
  for (std::uint64_t bits = 1; bits <= MOST_BITS; ++bits) {
    std::uint64_t numEbrs = 0;
    walkAlong(bitstream, allSections, bits, [&](const EbrCommand& command) {
      if (command.fault == CommandFault::NONE) ++numEbrs;
    });
    if (numEbrs > best.numEbrs) best = {bits, numEbrs};
  }
  return best;
}
