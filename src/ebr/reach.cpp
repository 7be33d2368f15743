// Identifiers are sorted, because those chosen to collide in a known hash would make a table of
// them slow; and compared where they are, because copies would take more room than the stream.
#include "ebr/reach.h"

#include <algorithm>

#include "ebr/command.h"
#include "ebr/format.h"
#include "ebr/search.h"
#include "ebr/section.h"

namespace {

// A section and the beginning of its identifier, 64 bits if it has as many. Most comparisons need
// no more, and reading it at each would take longer than all the rest.
struct SectionKey {
  std::uint64_t beginning, section;
};

SectionKey keyOf(const Bitstream& bitstream, std::uint64_t section, std::uint64_t identifierBits) {
  const std::uint64_t window = bitstream.getWindow(identifierIndexOf(bitstream, section));
  // Two shifts: one by 64 has no defined result.
  const std::uint64_t unused = 64 - std::min<std::uint64_t>(identifierBits, 64);
  return {window >> unused / 2 >> (unused - unused / 2), section};
}

// Less than, equal to or greater than 0 as one identifier is to the other.
int compareIdentifiers(const Bitstream& bitstream, const SectionKey& a, const SectionKey& b,
                       std::uint64_t identifierBits) {
  if (a.beginning != b.beginning) return a.beginning < b.beginning ? -1 : 1;
  for (std::uint64_t at = 64; at < identifierBits; at += 64) {
    const std::uint64_t unused = 64 - std::min<std::uint64_t>(identifierBits - at, 64);
    const auto bitsOf = [&](std::uint64_t section) {
      return bitstream.getWindow(identifierIndexOf(bitstream, section) + at) >> unused;
    };
    const std::uint64_t left = bitsOf(a.section), right = bitsOf(b.section);
    if (left != right) return left < right ? -1 : 1;
  }
  return 0;
}

}  // namespace

std::vector<std::uint64_t> firstOfEach(const Bitstream& bitstream,
                                       const std::vector<std::uint64_t>& sections,
                                       std::uint64_t identifierBits) {
  std::vector<SectionKey> keys;
  keys.reserve(sections.size());
  for (const std::uint64_t section : sections) {
    if (!hasIdentifier(bitstream, section, identifierBits)) continue;
    keys.push_back(keyOf(bitstream, section, identifierBits));
  }
  std::ranges::sort(keys, [&](const SectionKey& a, const SectionKey& b) {
    const int order = compareIdentifiers(bitstream, a, b, identifierBits);
    return order != 0 ? order < 0 : a.section < b.section;
  });
  const auto isAgain = [&](const SectionKey& a, const SectionKey& b) {
    return compareIdentifiers(bitstream, a, b, identifierBits) == 0;
  };
  const auto end = std::unique(keys.begin(), keys.end(), isAgain);
  std::vector<std::uint64_t> firsts;
  for (auto key = keys.begin(); key != end; ++key) firsts.push_back(key->section);
  return firsts;
}

std::uint64_t findFirst(const Bitstream& bitstream, const std::vector<std::uint64_t>& firsts,
                        std::uint64_t section, std::uint64_t identifierBits) {
  const SectionKey wanted = keyOf(bitstream, section, identifierBits);
  const auto compareWanted = [&](std::uint64_t other) {
    const SectionKey key = keyOf(bitstream, other, identifierBits);
    return compareIdentifiers(bitstream, key, wanted, identifierBits);
  };
  const auto first = std::ranges::partition_point(
      firsts, [&](std::uint64_t other) { return compareWanted(other) < 0; });
  return first != firsts.end() && compareWanted(*first) == 0 ? *first : NOT_FOUND;
}

std::vector<std::uint64_t> findReached(const Bitstream& bitstream,
                                       const std::vector<std::uint64_t>& chain,
                                       std::uint64_t identifierBits) {
  std::vector<std::uint64_t> reached = firstOfEach(bitstream, chain, identifierBits);
  std::erase_if(reached, [&](std::uint64_t section) {
    return readEbrCommand(bitstream, section, identifierBits).fault != CommandFault::NONE;
  });
  std::ranges::sort(reached);
  return reached;
}

bool holdsAddress(const Bitstream& bitstream, std::uint64_t begin, std::uint64_t end) {
  const std::uint64_t from = begin - std::min(begin, IDENTIFIER_OFFSET - 1);
  return findAddressSection(bitstream, from, end) != NOT_FOUND;
}
