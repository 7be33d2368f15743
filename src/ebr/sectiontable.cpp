#include "ebr/sectiontable.h"

#include <algorithm>
#include <utility>

#include "ebr/chain.h"
#include "ebr/reach.h"
#include "ebr/section.h"
#include "ebr/walk.h"

SectionTable::SectionTable(const Bitstream& stream, const std::vector<std::uint64_t>& allSections,
                           std::uint64_t bits)
    : bitstream(stream),
      identifierBits(bits),
      chain(selectChain(stream, allSections, bits)),
      firsts(firstOfEach(stream, chain, bits)) {
  walkAlong(stream, allSections, bits,
            [&](const EbrCommand& command) { walk.push_back(command.opcodeIndex); });
}

EbrCommand SectionTable::getCommand(std::uint64_t section) const {
  return readEbrCommand(bitstream, section, identifierBits);
}

std::string SectionTable::getIdentifier(const EbrCommand& command) const {
  return identifierOf(bitstream, command.opcodeIndex, command.identifierBits);
}

std::optional<EbrCommand> SectionTable::findAround(std::uint64_t bitIndex) const {
  const auto next = std::ranges::lower_bound(walk, bitIndex);
  if (next == walk.begin()) return std::nullopt;
  const EbrCommand before = getCommand(*(next - 1));
  return bitIndex < endOfCommand(bitstream, before) ? std::optional(before) : std::nullopt;
}

std::vector<EbrCommand> SectionTable::findEbrs() const {
  std::vector<std::uint64_t> sections = walk;
  std::erase_if(sections, [&](std::uint64_t section) {
    return getCommand(section).fault != CommandFault::NONE;
  });
  sections = firstOfEach(bitstream, sections, identifierBits);
  std::ranges::sort(sections);
  std::vector<EbrCommand> ebrs;
  ebrs.reserve(sections.size());
  for (const std::uint64_t section : sections) ebrs.push_back(getCommand(section));
  return ebrs;
}

std::optional<Hiding> SectionTable::findHiding(std::uint64_t section) const {
  using enum Hiding::Kind;
  const std::uint64_t passed = *(std::ranges::upper_bound(chain, section) - 1);
  const bool isPassedOver = passed != section;
  const std::uint64_t first =
      isPassedOver ? passed : findFirst(bitstream, firsts, section, identifierBits);
  if (first == section) return std::nullopt;
  return Hiding{isPassedOver ? REACHES_INTO : COMES_FIRST, first, findAround(first)};
}

std::optional<HiddenCommand> SectionTable::findHidden(const std::string& identifier) const {
  for (const std::uint64_t section : walk) {
    const EbrCommand command = getCommand(section);
    if (command.fault != CommandFault::NONE || getIdentifier(command) != identifier) continue;
    const std::optional<Hiding> hiding = findHiding(section);
    if (!hiding) return std::nullopt;
    return HiddenCommand{identifier, section, *hiding};
  }
  return std::nullopt;
}
