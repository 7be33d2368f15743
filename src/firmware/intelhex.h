// Intel HEX, as published by its maker in 1988: 8-, 16- and 32-bit addresses.
#ifndef RAMGRAFT_FIRMWARE_INTELHEX_H
#define RAMGRAFT_FIRMWARE_INTELHEX_H

#include <span>
#include <string>

#include "firmware/image.h"

/// readFirmware() for Intel HEX. Start addresses are checked for their length and otherwise
/// ignored.
std::string readIntelHex(const std::string& fileName, std::span<const unsigned char> bytes,
                         const PieceVisitor& visit);

#endif
