// Finding the EBRs that a width file lists on the walk, whatever contents look like.
#ifndef RAMGRAFT_SURVEY_WALKLOOKUP_H
#define RAMGRAFT_SURVEY_WALKLOOKUP_H

#include <string>
#include <vector>

#include "ebr/lookup.h"

/// Looks for each of `wids`, equally long, among the commands of the walk. Of those with one
/// identifier it takes the first that has a data section or, if none has, the first.
std::vector<Lookup> lookUpOnWalk(const Bitstream& bitstream, const std::vector<std::string>& wids);

#endif
