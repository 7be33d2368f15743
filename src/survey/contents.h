// The contents of one EBR as a bitstream has them.
#ifndef RAMGRAFT_SURVEY_CONTENTS_H
#define RAMGRAFT_SURVEY_CONTENTS_H

#include <cstdint>
#include <span>
#include <vector>

#include "base/ramgraftbstream.h"
#include "ebr/command.h"
#include "ebr/crcfield.h"

/// What there is to say about the contents.
struct ContentsFacts {
  std::uint64_t ninthBits = 0;  ///< payload words with a ninth bit that is not 0
  CrcCheck crc;

  /// True if a run would leave the CRC field as it is.
  bool hasLastingCrc() const { return crc.stored == crc.computed; }
};

/// Reads the first `numWords` words of the payload of a command without fault; `contents` becomes
/// their bytes.
ContentsFacts readContents(const Bitstream& bitstream, const EbrCommand& command,
                           std::uint64_t numWords, std::vector<unsigned char>& contents);

/// True if one of the bits from `begin` on isn't 0; the first bit of the contents is the least
/// significant one of the first byte.
bool hasBitsFrom(std::uint64_t begin, std::span<const unsigned char> contents);

#endif
