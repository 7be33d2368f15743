// Numbers as maps and command lines spell them.
#ifndef RAMGRAFT_LAYOUT_NUMBER_H
#define RAMGRAFT_LAYOUT_NUMBER_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The value of a decimal number, or of a hexadecimal one after "0x", either case; '_' may separate
/// digits. Nothing if `text` is no such number or doesn't fit 64 bits.
std::optional<std::uint64_t> parseNumber(std::string_view text);

/// The same for numbers of any size, as bytes, least significant first, the last one not 0: none
/// for the number 0. Decimal numbers must fit 64 bits.
std::optional<std::vector<unsigned char>> parseWideNumber(std::string_view text);

/// The bytes of a number as parseWideNumber() gives them.
std::vector<unsigned char> bytesOf(std::uint64_t number);

/// "0x" and at least `minDigits` upper-case hexadecimal digits.
std::string spellHex(std::uint64_t value, std::size_t minDigits = 1);

#endif
