// The formats of firmware files that contain addresses.
#ifndef RAMGRAFT_FIRMWARE_FORMAT_H
#define RAMGRAFT_FIRMWARE_FORMAT_H

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "firmware/image.h"

enum class Format : std::uint8_t { ELF, INTEL_HEX, S_RECORD };

/// The format that a file's first bytes announce: ELF's magic number, or after any white space ':'
/// and a hexadecimal digit, or 'S' and a decimal digit. Nothing for any other bytes.
std::optional<Format> detectFormat(std::span<const unsigned char> bytes);

/// Reads a file of the given format: hands its pieces, of which there is at least one, to `visit`,
/// and sets `facts`, which must be empty; the byte order is known before the first piece comes.
/// Returns a sentence that says what is wrong and where, and then pieces may be missing and `facts`
/// are of no use; empty if nothing is wrong. Takes time proportional to n log n for n bytes,
/// whatever they are, and less memory than the file but for an ELF file's tables.
std::string readFirmware(Format format, const std::string& fileName,
                         std::span<const unsigned char> bytes, FirmwareFacts& facts,
                         const PieceVisitor& visit);

#endif
