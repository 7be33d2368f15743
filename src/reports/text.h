// The small pieces of messages.
#ifndef RAMGRAFT_REPORTS_TEXT_H
#define RAMGRAFT_REPORTS_TEXT_H

#include <cstdint>
#include <string>
#include <string_view>

/// Text from a file, fit for a terminal: its first 60 characters, those that aren't printable ASCII
/// as "\xNN", and "..." if there are more.
std::string excerptOf(std::string_view text);

/// A sentence with names from outside, fit for a terminal: control characters as "\xNN".
std::string withoutControls(std::string_view text);

/// Four upper-case hexadecimal digits.
std::string toHex16(std::uint16_t value);

/// The number and the noun, with an "s" unless the number is 1.
std::string countOf(std::uint64_t number, std::string_view noun);

/// The verb for so many things: " differs" or " differ".
std::string_view differFor(std::uint64_t number);

#endif
