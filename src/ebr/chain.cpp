// What makes remembering exact:
//
// Searches after a run's first one start 100 bits before the identifier of the run's first section.
// No payload lies before that section, so it stays the first one and all searches follow the same
// chain.
//
// A section is there or not because of its own ADDRESS_SECTION_BITS bits alone. Overwriting
// [begin, end) can therefore only make or break sections that begin in
// (begin - ADDRESS_SECTION_BITS, end). A section made or broken there moves the point from which
// the next one is looked for, which can let the chain step onto sections that used to lie inside an
// identifier, and so on, until the new chain meets a section of the old one: from there on the two
// are the same. Stretches between two neighbours of the old chain, from the end of one's identifier
// to the start of the next, are known to hold no section and are not searched again.
#include "ebr/chain.h"

#include <algorithm>

#include "ebr/format.h"
#include "ebr/search.h"
#include "steps/ramgraftutil.h"

namespace {

std::uint64_t subtractToZero(std::uint64_t from, std::uint64_t amount) {
  return from - std::min(from, amount);
}

}  // namespace

EbrSectionMap::EbrSectionMap(const Bitstream& stream, const std::vector<std::string>& wids)
    : bitstream(stream), widLength(wids.front().size()) {
  for (const std::string& wid : wids) firstCandidates.emplace(wid, NOT_FOUND);
}

// A section whose zero bits are cut short by the end of the stream has its identifier there.
std::uint64_t EbrSectionMap::identifierOf(std::uint64_t section) const {
  return std::min<std::uint64_t>(section + ADDRESS_SECTION_BITS, bitstream.getNumBits());
}

// Where the search for the next section goes on.
std::uint64_t EbrSectionMap::endOf(std::uint64_t section) const {
  if (!hasIdentifier(section)) return bitstream.getNumBits();
  return identifierOf(section) + widLength;
}

// At least one bit must follow the identifier, and two the opcode's zeros.
bool EbrSectionMap::hasIdentifier(std::uint64_t section) const {
  return bitstream.getNumBits() - identifierOf(section) > std::max<std::uint64_t>(widLength, 1);
}

bool EbrSectionMap::carries(std::uint64_t section, const std::string& wid) const {
  if (wid.size() != widLength) return false;
  const std::uint64_t identifier = identifierOf(section);
  for (std::uint64_t i = 0; i < widLength; ++i) {
    if (bitToChar(bitstream.getBit(identifier + i)) != wid[i]) return false;
  }
  return true;
}

EbrSectionMap::Outcome EbrSectionMap::find(const std::string& wid, std::uint64_t& identifierIndex) {
  std::uint64_t& candidate = firstCandidates.at(wid);
  const auto isFound = [&](std::uint64_t section) {
    if (!hasIdentifier(section) || !carries(section, wid)) return false;
    candidate = section;
    identifierIndex = identifierOf(section);
    return true;
  };
  const auto known =
      std::find_if(std::lower_bound(chain.begin(), chain.end(), candidate), chain.end(), isFound);
  if (known != chain.end()) return Outcome::FOUND;
  candidate = NOT_FOUND;
  while (chain.empty() || hasIdentifier(chain.back())) {
    if (!follow()) return Outcome::NO_SECTION;
    if (isFound(chain.back())) return Outcome::FOUND;
  }
  return Outcome::RAN_OFF_END;
}

// Appends the chain's next section. False when the stream holds no more.
bool EbrSectionMap::follow() {
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
void EbrSectionMap::noteCandidate(std::uint64_t section) {
  if (!hasIdentifier(section)) return;
  std::string identifier;
  bitstream.appendDigits(identifierOf(section), endOf(section), identifier);
  const auto candidate = firstCandidates.find(identifier);
  if (candidate == firstCandidates.end()) return;
  candidate->second = std::min(candidate->second, section);
}

void EbrSectionMap::bitsChanged(std::uint64_t begin, std::uint64_t end) {
  const std::uint64_t firstTouched = subtractToZero(begin, ADDRESS_SECTION_BITS - 1);
  if (firstTouched >= searched) return;  // will be seen when the chain gets there

  // Sections that end before the change stay. The chain is followed anew from the last of them.
  const auto first = std::partition_point(
      chain.begin(), chain.end(), [&](std::uint64_t section) { return endOf(section) <= begin; });
  std::uint64_t cursor = first == chain.begin() ? 0 : endOf(*(first - 1));
  cursor = std::max(cursor, std::min(firstTouched, first == chain.end() ? NOT_FOUND : *first));

  Chain found;
  auto old = first;                                    // next section of the old chain
  std::uint64_t unknownEnd = std::min(end, searched);  // sections before this must be looked for
  for (;;) {
    for (; old != chain.end() && *old < std::max(cursor, end); ++old) {
      unknownEnd = std::max(unknownEnd, endOf(*old));
    }
    const std::uint64_t section = findAddressSection(bitstream, cursor, unknownEnd);
    if (section == NOT_FOUND) break;
    found.push_back(section);
    noteCandidate(section);
    cursor = endOf(section);
  }
  searched = std::max(searched, cursor);
  replace(first, old, found);
}

// Puts `found` in the place of the chain's sections [first, last).
void EbrSectionMap::replace(Chain::iterator first, Chain::iterator last, const Chain& found) {
  if (std::equal(first, last, found.begin(), found.end())) return;
  chain.insert(chain.erase(first, last), found.begin(), found.end());
}
