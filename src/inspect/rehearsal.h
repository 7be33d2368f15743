// A run in memory, to see whether it succeeds and what it changes.
#ifndef RAMGRAFT_INSPECT_REHEARSAL_H
#define RAMGRAFT_INSPECT_REHEARSAL_H

#include <string>

#include "base/ramgraftbstream.h"
#include "inputs/loading.h"

/// What a run would do.
struct Rehearsal {
  std::string fault;       ///< why it would fail; empty if it would succeed
  bool isChanged = false;  ///< whether it would leave the bitstream changed
};

/// Replaces the contents of the listed EBRs in `bitstream`. Contents that were written can look
/// like commands, payloads can overlap, and an EBR can be listed twice: only doing it shows what is
/// left.
Rehearsal rehearse(const MemoryInputs& inputs, Bitstream& bitstream);

#endif
