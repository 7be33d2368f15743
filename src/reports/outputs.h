// What became of an output file, in words.
#ifndef RAMGRAFT_REPORTS_OUTPUTS_H
#define RAMGRAFT_REPORTS_OUTPUTS_H

#include <cstring>
#include <string>
#include <string_view>

#include "files/readfile.h"
#include "files/replace.h"

/// Why the file wasn't written; needs no memory.
inline std::string_view reasonOf(const ReplaceResult& result) {
  const bool isInUse = result.outcome == ReplaceResult::Outcome::IN_USE;
  return isInUse ? "another program is writing it" : std::strerror(result.error);
}

/// Why an output isn't written that is one of the inputs.
inline std::string textOf(const ReadFile& input) { return "it is an input (" + input.name + ")"; }

/// What a file is if it was written in part.
inline constexpr std::string_view MAY_BE_MIXED = "it may be part old, part new";

#endif
