// How long an EBR's physical line is, and how much of the payload it fills. Its text is made by
// steps/physicalline.h; a run makes none, but its limits apply.
#ifndef RAMGRAFT_EBR_LINELENGTHS_H
#define RAMGRAFT_EBR_LINELENGTHS_H

#include <cstdint>

/// Bits of the physical line of a column with `dataBits` data bits, before it is padded to
/// PHYSICAL_LINE_BITS. Nothing follows the last data bit.
std::uint64_t physicalLineBits(std::uint64_t dataBits);

/// Payload words that the padded physical line of a column with `dataBits` data bits fills: those
/// of its whole blocks.
std::uint64_t physicalLineWords(std::uint64_t dataBits);

#endif
