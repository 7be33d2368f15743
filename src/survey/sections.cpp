#include "survey/sections.h"

#include <algorithm>
#include <utility>

#include "ebr/chain.h"
#include "ebr/section.h"

namespace {

// Marks all but the first of the sections with the same identifier. Sorts, because identifiers
// chosen to collide in a known hash would make a table of them slow.
std::vector<bool> findHidden(const Bitstream& bitstream, const std::vector<std::uint64_t>& chain,
                             std::uint64_t identifierBits) {
  std::vector<std::pair<std::uint64_t, std::size_t>> identifiers;  // and the section's number
  for (std::size_t i = 0; i < chain.size(); ++i) {
    if (!hasIdentifier(bitstream, chain[i], identifierBits)) continue;
    const std::uint64_t window = bitstream.getWindow(identifierIndexOf(bitstream, chain[i]));
    identifiers.emplace_back(window >> (64 - identifierBits), i);
  }
  std::sort(identifiers.begin(), identifiers.end());
  std::vector<bool> hidden(chain.size());
  for (std::size_t i = 1; i < identifiers.size(); ++i) {
    if (identifiers[i].first == identifiers[i - 1].first) hidden[identifiers[i].second] = true;
  }
  return hidden;
}

}  // namespace

SectionTable::SectionTable(const Bitstream& stream, const std::vector<std::uint64_t>& allSections,
                           std::uint64_t bits)
    : bitstream(stream),
      identifierBits(bits),
      chain(selectChain(stream, allSections, bits)),
      hidden(findHidden(stream, chain, bits)) {}

EbrCommand SectionTable::getCommand(std::size_t section) const {
  return readEbrCommand(bitstream, chain[section], identifierBits);
}

std::string SectionTable::getIdentifier(const EbrCommand& command) const {
  return identifierOf(bitstream, command.opcodeIndex, command.identifierBits);
}

// Payloads overlap when contents look like commands: one now and then, but thousands in a file that
// was made for it, each of up to half a megabyte. A sum of 256 MB is read in no time.
bool SectionTable::overlapsTooMuch() const {
  constexpr std::uint64_t MOST_OVERLAP = 16;
  constexpr std::uint64_t NEVER_TOO_MUCH_BITS = UINT64_C(1) << 31;
  std::uint64_t payloadBits = 0;
  for (std::size_t i = 0; i < chain.size(); ++i) {
    const EbrCommand command = getCommand(i);
    if (command.fault == CommandFault::NONE) payloadBits += command.payloadBits();
  }
  return payloadBits > bitstream.getNumBits() * MOST_OVERLAP + NEVER_TOO_MUCH_BITS;
}
