#include "inspect/locator.h"

#include <utility>

#include "inspect/sections.h"
#include "inspect/unlocated.h"
#include "reports/text.h"

std::vector<std::string> Locator::identifiersOf(const Fit& part) const {
  std::vector<std::string> identifiers;
  for (const std::size_t ebr : part.getEbrs()) identifiers.push_back(identifierOf(ebr));
  return identifiers;
}

void Locator::locate(KnownMemories& memories, Messages& messages) const {
  Owners owners;
  for (KnownMemory& memory : memories) {
    FitSearch search(table.getBitstream(), ebrs);
    Location location = search.locate(memory.known);
    if (location.outcome != Location::Outcome::FOUND) {
      const auto identifiers = [this](std::size_t ebr) { return identifierOf(ebr); };
      memory.reason = reasonOf(location, search, memory.known, identifiers);
      continue;
    }
    memory.parts = std::move(location.parts);
    for (const Fit& part : memory.parts) {
      for (const std::size_t ebr : part.getEbrs()) claim(ebr, memory, owners);
      if (!search.isTooShort(part.columnBits())) continue;
      messages.warn(memory.label() + ": EBRs are distinguished by " +
                    countOf(part.columnBits(), "bit") + " of contents, which can be chance among " +
                    countOf(ebrs.size(), "EBR"));
    }
  }
}

// Notes to which memory an EBR belongs.
void Locator::claim(std::size_t ebr, KnownMemory& memory, Owners& owners) const {
  const auto [owner, isNew] = owners.emplace(ebr, &memory);
  if (isNew || !memory.reason.empty()) return;
  memory.reason = "EBR " + identifierOf(ebr) + " is found for " + owner->second->label() + ", too";
}

void Locator::warnOfHiddenEbrs(const KnownMemories& memories, Messages& messages) const {
  for (const KnownMemory& memory : memories) {
    for (const Fit& part : memory.parts) {
      for (const std::size_t ebr : part.getEbrs()) warnOfHidden(table, ebrs[ebr], messages);
    }
  }
}
