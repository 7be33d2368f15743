// A run in memory, to see whether it succeeds and what it changes.
#ifndef RAMGRAFT_SURVEY_REHEARSAL_H
#define RAMGRAFT_SURVEY_REHEARSAL_H

#include <optional>

#include "base/ramgraftbstream.h"
#include "ebr/lookup.h"
#include "inputs/loading.h"

/// What a run would do.
struct Rehearsal {
  std::optional<Lookup> failed;  ///< the EBR at which it would fail; nothing if it would succeed
  bool isChanged = false;        ///< if it would succeed: whether the bitstream would be changed
};

/// Replaces the contents of the listed EBRs in `bitstream`. Contents that were written can look
/// like commands, payloads can overlap, and an EBR can be listed twice: only doing it shows what is
/// left.
Rehearsal rehearse(const MemoryInputs& inputs, Bitstream& bitstream);

#endif
