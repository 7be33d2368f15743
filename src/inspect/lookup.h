// Finding the EBRs that a width file lists, as a run does.
#ifndef RAMGRAFT_INSPECT_LOOKUP_H
#define RAMGRAFT_INSPECT_LOOKUP_H

#include <string>
#include <vector>

#include "ebr/chain.h"
#include "ebr/command.h"

/// What became of looking for one EBR.
struct Lookup {
  SectionChain::Outcome outcome = SectionChain::Outcome::NO_SECTION;
  EbrCommand command;  ///< once FOUND; it may have a fault

  bool isUsable() const {
    return outcome == SectionChain::Outcome::FOUND && command.fault == CommandFault::NONE;
  }
};

/// Looks for the EBR that carries `wid`, one of the chain's.
Lookup findEbr(const Bitstream& bitstream, SectionChain& chain, const std::string& wid);

/// Why the EBR can't be used.
std::string wordsOf(const Lookup& lookup, const std::string& wid);

#endif
