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
      reached(firstOfEach(stream, chain, bits)) {
  walkAlong(stream, allSections, bits,
            [&](const EbrCommand& command) { walk.push_back(command.opcodeIndex); });
}

EbrCommand SectionTable::getCommand(std::uint64_t section) const {
  return readEbrCommand(bitstream, section, identifierBits);
}

std::string SectionTable::getIdentifier(const EbrCommand& command) const {
  return identifierOf(bitstream, command.opcodeIndex, command.identifierBits);
}

bool SectionTable::isHidden(const EbrCommand& command) const {
  return !std::ranges::binary_search(reached, command.opcodeIndex);
}

std::vector<EbrCommand> SectionTable::findEbrs() const {
  std::vector<std::uint64_t> sections = walk;
  std::erase_if(sections, [&](std::uint64_t section) {
    return getCommand(section).fault != CommandFault::NONE;
  });
  sections = firstOfEach(bitstream, std::move(sections), identifierBits);
  std::vector<EbrCommand> ebrs;
  ebrs.reserve(sections.size());
  for (const std::uint64_t section : sections) ebrs.push_back(getCommand(section));
  return ebrs;
}
