#include "inspect/lookup.h"

#include "console/lines.h"
#include "inspect/texts.h"

Lookup findEbr(const Bitstream& bitstream, SectionChain& chain, const std::string& wid) {
  Lookup lookup;
  std::uint64_t section = 0;
  lookup.outcome = chain.find(wid, section);
  if (lookup.outcome == SectionChain::Outcome::FOUND) {
    lookup.command = readEbrCommand(bitstream, section, wid.size());
  }
  return lookup;
}

std::string wordsOf(const Lookup& lookup, const std::string& wid) {
  std::string text = "EBR " + excerptOf(wid);
  switch (lookup.outcome) {
    case SectionChain::Outcome::NO_SECTION:
      return text + " isn't in the bitstream";
    case SectionChain::Outcome::RAN_OFF_END:
      return text + " isn't in the bitstream, which ends inside an identifier";
    case SectionChain::Outcome::FOUND:
      break;
  }
  text += " at bit " + std::to_string(lookup.command.index) + ": ";
  return text.append(wordsOf(lookup.command.fault));
}
