// Finding the EBRs that a width file lists.
#ifndef RAMGRAFT_EBR_LOOKUP_H
#define RAMGRAFT_EBR_LOOKUP_H

#include <optional>
#include <string>
#include <vector>

#include "ebr/chain.h"
#include "ebr/command.h"

/// What became of looking for one EBR.
struct Lookup {
  std::string wid;
  SectionChain::Outcome outcome = SectionChain::Outcome::NO_SECTION;
  EbrCommand command;  ///< once FOUND; it may have a fault

  bool isFound() const { return outcome == SectionChain::Outcome::FOUND; }
  bool isUsable() const { return isFound() && command.fault == CommandFault::NONE; }
};

/// Looks for the EBR that carries `wid`, one of the chain's.
Lookup findEbr(const Bitstream& bitstream, SectionChain& chain, const std::string& wid);

/// Looks for the listed EBRs in turn, in a stream as it is, and appends their commands to
/// `commands`. Ends at the first EBR that can't be used and returns its look-up; returns nothing if
/// all can.
std::optional<Lookup> findEbrs(const Bitstream& bitstream, const std::vector<std::string>& wids,
                               std::vector<EbrCommand>& commands);

#endif
