// Why nothing is remembered until the chain changes or contents in it look like an address section:
//
// If the chain has no section whose address has a bit of the payload or the CRC, then the
// identifier and the header of each of its commands are elsewhere: those before the command end
// before its payload, and the next one begins after its CRC. So overwriting these bits changes none
// of them. As long as the chain, too, stays as it is, a search arrives where it did before the
// first change.
#include "ebr/reachwatch.h"

#include <algorithm>
#include <optional>

#include "base/digits.h"
#include "ebr/reach.h"
#include "ebr/search.h"
#include "ebr/section.h"

namespace {

std::uint64_t endOf(const EbrCommand& command) { return command.crcIndex() + CRC_BITS; }

}  // namespace

void ReachWatch::beforeWriting(const EbrCommand& command) {
  if (!isRemembered && chain.hasAddressIn(command.payloadIndex, endOf(command))) remember();
}

void ReachWatch::afterWriting(const EbrCommand& command) {
  chain.bitsChanged(command.payloadIndex, endOf(command), [&] {
    if (!isRemembered) remember();
  });
}

void ReachWatch::remember() {
  isRemembered = true;
  reached = findReached(bitstream, chain.followToEnd(), identifierBits);
  identifiers.reserve(reached.size() * wordsEach());
  for (const std::uint64_t section : reached) {
    for (std::uint64_t i = 0; i < wordsEach(); ++i) identifiers.push_back(readWord(section, i));
  }
}

// Bits in word number `i` of an identifier: the last one can have fewer than 64.
unsigned ReachWatch::bitsIn(std::uint64_t i) const {
  return static_cast<unsigned>(std::min<std::uint64_t>(identifierBits - i * 64, 64));
}

// Word number `i` of the identifier that a section has now.
std::uint64_t ReachWatch::readWord(std::uint64_t section, std::uint64_t i) const {
  return bitstream.getWindow(identifierIndexOf(bitstream, section) + i * 64) >> (64 - bitsIn(i));
}

// True if the command is still there that had this number among those reached.
bool ReachWatch::isThere(std::size_t number) const {
  const std::uint64_t section = reached[number];
  for (std::uint64_t i = 0; i < wordsEach(); ++i) {
    if (readWord(section, i) != identifiers[number * wordsEach() + i]) return false;
  }
  return findAddressSection(bitstream, section, section + 1) == section &&
         readEbrCommand(bitstream, section, identifierBits).fault == CommandFault::NONE;
}

std::string ReachWatch::spellIdentifier(std::size_t number) const {
  std::string text;
  for (std::uint64_t i = 0; i < wordsEach(); ++i) {
    const std::uint64_t word = identifiers[number * wordsEach() + i];
    for (unsigned bit = bitsIn(i); bit-- > 0;) text += binaryDigit((word >> bit & 1) != 0);
  }
  return text;
}

void ReachWatch::forEachLost(const std::function<void(const HiddenCommand&)>& visit) {
  if (!isRemembered) return;
  const std::vector<std::uint64_t> now =
      findReached(bitstream, chain.followToEnd(), identifierBits);
  std::optional<SectionTable> table;  // takes a search through the whole stream
  for (std::size_t number = 0; number < reached.size(); ++number) {
    const std::uint64_t section = reached[number];
    const bool isStillThere = isThere(number);
    if (isStillThere && std::ranges::binary_search(now, section)) continue;
    if (!table) table.emplace(bitstream, findAllSections(bitstream), identifierBits);
    const Hiding hiding =
        isStillThere ? *table->findHiding(section)
                     : Hiding{Hiding::Kind::OVERWRITTEN, section, table->findAround(section)};
    visit({spellIdentifier(number), section, hiding});
  }
}
