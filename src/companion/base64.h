// Bytes as base64.
#ifndef RAMGRAFT_COMPANION_BASE64_H
#define RAMGRAFT_COMPANION_BASE64_H

#include <span>
#include <string>

/// The bytes as base64 with padding, on one line.
std::string toBase64(std::span<const unsigned char> bytes);

#endif
