// Motorola S-record: 16-, 24- and 32-bit addresses.
#ifndef RAMGRAFT_FIRMWARE_SRECORD_H
#define RAMGRAFT_FIRMWARE_SRECORD_H

#include <span>
#include <string>

#include "firmware/image.h"

/// readFirmware() for S-record. Headers and start addresses are checked for their form and
/// otherwise ignored.
std::string readSRecord(const std::string& fileName, std::span<const unsigned char> bytes,
                        const PieceVisitor& visit);

#endif
