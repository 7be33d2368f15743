// ELF: executables of 32 and 64 bits in either byte order.
#ifndef RAMGRAFT_FIRMWARE_ELFFILE_H
#define RAMGRAFT_FIRMWARE_ELFFILE_H

#include <span>
#include <string>
#include <vector>

#include "firmware/image.h"

/// readFirmware() for ELF: the bytes of every section that is part of the running program and has
/// bytes in the file, at the address where a loader puts them. In a file without sections, the
/// bytes of its segments.
std::string readElf(const std::string& fileName, std::span<const unsigned char> bytes,
                    FirmwareFacts& facts, const PieceVisitor& visit);

/// Reads the symbols, sorted by name, then by address. They move to load addresses with their
/// section's bytes, and stay if it has none; only symbols of sections that are part of the running
/// program and absolute ones are given, and no names longer than 4096 bytes. The file need not
/// contain the bytes of its sections, but must be an executable. Fails like readElf().
std::string readElfSymbols(const std::string& fileName, std::span<const unsigned char> bytes,
                           std::vector<Symbol>& symbols);

#endif
