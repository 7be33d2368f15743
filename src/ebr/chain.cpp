// What makes remembering exact:
//
// The plain procedure restarts each search 100 bits before the first section's identifier. No
// payload precedes that section, so this visits the same sections as starting at bit 0, and all
// searches follow the same chain.
//
// Whether a section begins at a bit depends on the IDENTIFIER_OFFSET bits from there on alone.
// Overwriting [begin, end) can therefore only make or break sections that begin in
// (begin - IDENTIFIER_OFFSET, end). A section made or broken there moves the point from which the
// next one is looked for. The chain can then step onto a section that used to lie inside an
// identifier, and that moves the next point. Once the new chain meets a section of the old one, the
// two are the same from there on. Between two neighbours of the old chain, from the end of one's
// identifier to the start of the next, there is no section, so these stretches are not searched
// again.
#include "ebr/chain.h"

#include <algorithm>

#include "base/digits.h"
#include "ebr/format.h"
#include "ebr/search.h"
#include "ebr/section.h"

std::vector<std::uint64_t> findAllSections(const Bitstream& bitstream) {
  std::vector<std::uint64_t> sections;
  for (std::uint64_t from = 0;;) {
    const std::uint64_t section = findAddressSection(bitstream, from, NOT_FOUND);
    if (section == NOT_FOUND) return sections;
    sections.push_back(section);
    from = section + 1;
  }
}

std::vector<std::uint64_t> selectChain(const Bitstream& bitstream,
                                       const std::vector<std::uint64_t>& allSections,
                                       std::uint64_t identifierBits) {
  std::vector<std::uint64_t> chain;
  std::uint64_t end = 0;
  for (const std::uint64_t section : allSections) {
    if (section < end) continue;
    chain.push_back(section);
    end = endOfSection(bitstream, section, identifierBits);
  }
  return chain;
}

SectionChain::SectionChain(const Bitstream& stream, const std::vector<std::string>& wids)
    : bitstream(stream), identifierBits(wids.front().size()) {
  for (const std::string& wid : wids) firstCandidates.emplace(wid, NOT_FOUND);
}

std::uint64_t SectionChain::endOf(std::uint64_t section) const {
  return endOfSection(bitstream, section, identifierBits);
}

bool SectionChain::isComplete(std::uint64_t section) const {
  return hasIdentifier(bitstream, section, identifierBits);
}

bool SectionChain::carries(std::uint64_t section, const std::string& wid) const {
  if (wid.size() != identifierBits || !isComplete(section)) return false;
  const std::uint64_t identifier = identifierIndexOf(bitstream, section);
  for (std::uint64_t i = 0; i < identifierBits; ++i) {
    if (binaryDigit(bitstream.getBit(identifier + i)) != wid[i]) return false;
  }
  return true;
}

SectionChain::Outcome SectionChain::find(const std::string& wid, std::uint64_t& section) {
  std::uint64_t& candidate = firstCandidates.at(wid);
  const auto isFound = [&](std::uint64_t known) {
    if (!carries(known, wid)) return false;
    section = candidate = known;
    return true;
  };
  const auto known =
      std::find_if(std::lower_bound(chain.begin(), chain.end(), candidate), chain.end(), isFound);
  if (known != chain.end()) return Outcome::FOUND;
  candidate = NOT_FOUND;
  while (chain.empty() || isComplete(chain.back())) {
    if (!follow()) return Outcome::NO_SECTION;
    if (isFound(chain.back())) return Outcome::FOUND;
  }
  return Outcome::RAN_OFF_END;
}

// Appends the chain's next section. False when the stream holds no more.
bool SectionChain::follow() {
  const std::uint64_t section = findAddressSection(bitstream, searched, NOT_FOUND);
  if (section == NOT_FOUND) {
    searched = bitstream.getNumBits();
    return false;
  }
  chain.push_back(section);
  searched = endOf(section);
  noteCandidate(section);
  return true;
}

// Lowers the first candidate of the wid that `section` carries, if it carries one.
void SectionChain::noteCandidate(std::uint64_t section) {
  if (!isComplete(section)) return;
  const auto candidate = firstCandidates.find(identifierOf(bitstream, section, identifierBits));
  if (candidate == firstCandidates.end()) return;
  candidate->second = std::min(candidate->second, section);
}

bool SectionChain::hasAddressIn(std::uint64_t begin, std::uint64_t end) {
  while (searched < end && follow()) {
  }
  const std::uint64_t first = begin - std::min(begin, IDENTIFIER_OFFSET - 1);
  const auto section = std::ranges::lower_bound(chain, first);
  return section != chain.end() && *section < end;
}

const std::vector<std::uint64_t>& SectionChain::followToEnd() {
  while (follow()) {
  }
  return chain;
}

void SectionChain::bitsChanged(std::uint64_t begin, std::uint64_t end,
                               const std::function<void()>& beforeUpdate) {
  const std::uint64_t firstTouched = begin - std::min(begin, IDENTIFIER_OFFSET - 1);
  if (firstTouched >= searched) return;  // will be seen when the chain gets there

  // Sections that end before the change stay. The chain is followed anew from the last of them.
  const auto first = std::partition_point(
      chain.begin(), chain.end(), [&](std::uint64_t section) { return endOf(section) <= begin; });
  std::uint64_t from = first == chain.begin() ? 0 : endOf(*(first - 1));
  from = std::max(from, std::min(firstTouched, first == chain.end() ? NOT_FOUND : *first));

  Sections found;
  auto old = first;                                    // next section of the old chain
  std::uint64_t unknownEnd = std::min(end, searched);  // sections before this must be looked for
  for (;;) {
    for (; old != chain.end() && *old < std::max(from, end); ++old) {
      unknownEnd = std::max(unknownEnd, endOf(*old));
    }
    const std::uint64_t section = findAddressSection(bitstream, from, unknownEnd);
    if (section == NOT_FOUND) break;
    found.push_back(section);
    noteCandidate(section);
    from = endOf(section);
  }
  if (!std::equal(first, old, found.begin(), found.end())) {
    const auto at = first - chain.begin(), size = old - first;
    if (beforeUpdate) beforeUpdate();  // which may make the chain longer
    const auto begun = chain.begin() + at;
    chain.insert(chain.erase(begun, begun + size), found.begin(), found.end());
  }
  searched = std::max(searched, from);
}
