// The physical line of an EBR as text: a column laid out for the payload.
#ifndef RAMGRAFT_STEPS_PHYSICALLINE_H
#define RAMGRAFT_STEPS_PHYSICALLINE_H

#include <cstdint>
#include <string>
#include <vector>

#include "ebr/columns.h"

/// The physical line of EBR number `ebr`: its column in blocks, padded, last bit first, as
/// hexadecimal text. A column whose line is longer than PHYSICAL_LINE_BITS must give a multiple of
/// 8 bits.
std::string makePhysicalLine(EbrColumns& columns, std::uint64_t ebr);

/// The physical lines of all EBRs, EBR 0 first, appended to `lines`.
void appendPhysicalLines(const MemoryWords& words, std::vector<std::string>& lines);

/// The payload bits that a physical line gives, appended to `payload`, at most `mostBits` in all:
/// of every whole block, counted from the line's end, its last payload word, then the word before.
/// False, with an ERROR line printed, if the line is not hexadecimal.
bool appendPayloadBits(const std::string& physicalLine, std::uint64_t mostBits,
                       std::vector<bool>& payload);

#endif
