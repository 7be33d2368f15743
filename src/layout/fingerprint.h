// The fingerprint of a placed design: what of its bitstream no contents change.
#ifndef RAMGRAFT_LAYOUT_FINGERPRINT_H
#define RAMGRAFT_LAYOUT_FINGERPRINT_H

#include <span>
#include <string>
#include <string_view>

#include "base/ramgraftbstream.h"
#include "ebr/command.h"

/// "xxh3:" and, in 16 lower-case hexadecimal digits, the XXH3 hash of 64 bits of the bitstream's
/// bytes with every bit of the payloads and CRC fields of `walk` set to 0. These are all commands
/// of the walk, in its order; those with a fault don't count. New contents leave it as it is,
/// another placement changes it.
std::string fingerprintOf(const Bitstream& bitstream, std::span<const EbrCommand> walk);

/// True for text of the form that fingerprintOf() returns.
bool isFingerprint(std::string_view text);

#endif
