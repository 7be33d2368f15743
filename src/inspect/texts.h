// What the core's outcomes are called in words.
#ifndef RAMGRAFT_INSPECT_TEXTS_H
#define RAMGRAFT_INSPECT_TEXTS_H

#include <cstdint>
#include <string>
#include <string_view>

#include "ebr/command.h"
#include "ebr/crcfield.h"
#include "inputs/fault.h"

/// "right", "empty", "wrong" or "uncheckable".
std::string_view nameOf(CrcCheck::Verdict verdict);

/// What is missing from a command: "no TAV_EBR_WRITE" and the like.
std::string_view wordsOf(CommandFault fault);

/// What is wrong with an input file, and where.
std::string wordsOf(const InputFault& fault);

/// Four upper-case hexadecimal digits.
std::string toHex16(std::uint16_t value);

/// The number and the noun, with an "s" unless the number is 1.
std::string countOf(std::uint64_t number, std::string_view noun);

/// The verb for so many things: " differs" or " differ".
std::string_view differFor(std::uint64_t number);

#endif
