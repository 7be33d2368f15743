#include "survey/walklookup.h"

#include <functional>
#include <map>

#include "ebr/section.h"
#include "ebr/walk.h"

std::vector<Lookup> lookUpOnWalk(const Bitstream& bitstream, const std::vector<std::string>& wids) {
  std::map<std::string, Lookup, std::less<>> wanted;
  for (const std::string& wid : wids) wanted[wid].wid = wid;
  for (const EbrCommand& command : walkCommands(bitstream, wids.front().size())) {
    if (command.fault == CommandFault::NO_IDENTIFIER) break;  // it is the last
    const auto found =
        wanted.find(identifierOf(bitstream, command.opcodeIndex, command.identifierBits));
    if (found == wanted.end()) continue;
    Lookup& lookup = found->second;
    const bool isBetter = !lookup.isUsable() && command.fault == CommandFault::NONE;
    if (lookup.isFound() && !isBetter) continue;
    lookup.outcome = SectionChain::Outcome::FOUND;
    lookup.command = command;
  }
  std::vector<Lookup> lookups;
  lookups.reserve(wids.size());
  for (const std::string& wid : wids) lookups.push_back(wanted.find(wid)->second);
  return lookups;
}
