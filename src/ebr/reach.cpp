// Identifiers are sorted, because those chosen to collide in a known hash would make a table of
// them slow; and compared where they are, because copies would take more room than the stream.
#include "ebr/reach.h"

#include <algorithm>

#include "ebr/chain.h"
#include "ebr/format.h"
#include "ebr/search.h"
#include "ebr/section.h"

namespace {

// Less than, equal to or greater than 0 as the identifier of section `a` is to that of `b`.
int compareIdentifiers(const Bitstream& bitstream, std::uint64_t a, std::uint64_t b,
                       std::uint64_t identifierBits) {
  const std::uint64_t left = identifierIndexOf(bitstream, a);
  const std::uint64_t right = identifierIndexOf(bitstream, b);
  for (std::uint64_t at = 0; at < identifierBits; at += 64) {
    const std::uint64_t unused = 64 - std::min<std::uint64_t>(identifierBits - at, 64);
    const std::uint64_t leftBits = bitstream.getWindow(left + at) >> unused;
    const std::uint64_t rightBits = bitstream.getWindow(right + at) >> unused;
    if (leftBits != rightBits) return leftBits < rightBits ? -1 : 1;
  }
  return 0;
}

}  // namespace

std::vector<std::uint64_t> firstOfEach(const Bitstream& bitstream,
                                       std::vector<std::uint64_t> sections,
                                       std::uint64_t identifierBits) {
  const auto compare = [&](std::uint64_t a, std::uint64_t b) {
    return compareIdentifiers(bitstream, a, b, identifierBits);
  };
  std::erase_if(sections, [&](std::uint64_t section) {
    return !hasIdentifier(bitstream, section, identifierBits);
  });
  std::ranges::stable_sort(sections,
                           [&](std::uint64_t a, std::uint64_t b) { return compare(a, b) < 0; });
  const auto isAgain = [&](std::uint64_t a, std::uint64_t b) { return compare(a, b) == 0; };
  sections.erase(std::unique(sections.begin(), sections.end(), isAgain), sections.end());
  std::ranges::sort(sections);
  return sections;
}

std::vector<bool> findReached(const Bitstream& bitstream, const std::vector<EbrCommand>& ebrs,
                              std::uint64_t identifierBits) {
  const std::vector<std::uint64_t> sections =
      firstOfEach(bitstream, selectChain(bitstream, findAllSections(bitstream), identifierBits),
                  identifierBits);
  std::vector<bool> reached;
  reached.reserve(ebrs.size());
  for (const EbrCommand& ebr : ebrs) {
    reached.push_back(std::ranges::binary_search(sections, ebr.opcodeIndex));
  }
  return reached;
}

bool holdsAddress(const Bitstream& bitstream, std::uint64_t begin, std::uint64_t end) {
  const std::uint64_t from = begin - std::min(begin, IDENTIFIER_OFFSET - 1);
  return findAddressSection(bitstream, from, end) != NOT_FOUND;
}
