// An EBR's payload: the bytes of its contents, each with a ninth bit in front.
#ifndef RAMGRAFT_EBR_PAYLOAD_H
#define RAMGRAFT_EBR_PAYLOAD_H

#include <cstdint>
#include <span>

#include "base/ramgraftbstream.h"

/// Overwrites `numWords` payload words from bit `index` on: word j gets byte j of `column`, or 0
/// after its end, and a ninth bit of 0. `column` must be whole frames, the stream must have the
/// bits.
void writePayload(Bitstream& bitstream, std::uint64_t index, std::span<const unsigned char> column,
                  std::uint64_t numWords);

/// The inverse: fills `contents` with the bytes of as many payload words from bit `index` on.
/// Returns how many of these words have a ninth bit that is not 0.
std::uint64_t readPayload(const Bitstream& bitstream, std::uint64_t index,
                          std::span<unsigned char> contents);

#endif
