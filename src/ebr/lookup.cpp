#include "ebr/lookup.h"

Lookup findEbr(const Bitstream& bitstream, SectionChain& chain, const std::string& wid) {
  Lookup lookup;
  lookup.wid = wid;
  std::uint64_t section = 0;
  lookup.outcome = chain.find(wid, section);
  if (lookup.isFound()) lookup.command = readEbrCommand(bitstream, section, wid.size());
  return lookup;
}

std::optional<Lookup> findEbrs(const Bitstream& bitstream, const std::vector<std::string>& wids,
                               std::vector<EbrCommand>& commands) {
  SectionChain chain(bitstream, wids);
  for (const std::string& wid : wids) {
    Lookup lookup = findEbr(bitstream, chain, wid);
    if (!lookup.isUsable()) return lookup;
    commands.push_back(lookup.command);
  }
  return std::nullopt;
}
