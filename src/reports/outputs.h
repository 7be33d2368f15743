// What became of an output file, in words that need no memory.
#ifndef RAMGRAFT_REPORTS_OUTPUTS_H
#define RAMGRAFT_REPORTS_OUTPUTS_H

#include <cstring>
#include <string_view>

#include "files/replace.h"

/// Why the file wasn't written.
inline std::string_view reasonOf(const ReplaceResult& result) {
  const bool isInUse = result.outcome == ReplaceResult::Outcome::IN_USE;
  return isInUse ? "another program is writing it" : std::strerror(result.error);
}

/// What a file is if it was written in part.
inline constexpr std::string_view MAY_BE_MIXED = "it may be part old, part new";

#endif
