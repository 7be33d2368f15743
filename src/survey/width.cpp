// The stream is searched once, for all widths: whether a section begins at a bit doesn't depend on
// the width. The width decides only which of the sections the chain steps onto.
#include "survey/width.h"

#include <algorithm>

#include "ebr/chain.h"
#include "ebr/command.h"

WidthFinding findIdentifierBits(const Bitstream& bitstream,
                                const std::vector<std::uint64_t>& allSections) {
  constexpr std::uint64_t MOST_BITS = 64;
  WidthFinding best;
  for (std::uint64_t bits = 1; bits <= MOST_BITS; ++bits) {
    const std::vector<std::uint64_t> chain = selectChain(bitstream, allSections, bits);
    const auto hasData = [&](std::uint64_t section) {
      return readEbrCommand(bitstream, section, bits).fault == CommandFault::NONE;
    };
    const auto numEbrs =
        static_cast<std::uint64_t>(std::count_if(chain.begin(), chain.end(), hasData));
    if (numEbrs > best.numEbrs) best = {bits, numEbrs};
  }
  return best;
}
