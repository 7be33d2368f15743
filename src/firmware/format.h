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

/// Reads a file of the given format into `image`, which must be empty and has at least one piece
/// afterwards. `bytes` must live as long as the image. Returns a sentence that says what is wrong
/// and where, and then `image` is of no use; empty if nothing is wrong. Takes time proportional to
/// n log n and memory proportional to n for n bytes, whatever they are.
std::string readFirmware(Format format, const std::string& fileName,
                         std::span<const unsigned char> bytes, FirmwareImage& image);

#endif
