// Words in hexadecimal, and the row of bits that they make.
//
// A row has its first bit least significant in its first byte. The first digit of a word makes the
// row's first bits, the digit's most significant bit first.
#ifndef RAMGRAFT_BASE_HEXWORDS_H
#define RAMGRAFT_BASE_HEXWORDS_H

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

/// Writes the bits of a word, digits in either case, to the (word.size() + 1) / 2 bytes at `row`;
/// an odd count of digits is read as if a '0' came first. False if a character is not hexadecimal;
/// the bytes then mean nothing.
bool readHexDigits(std::string_view word, unsigned char* row);

/// The inverse: appends the bits [`begin`, `end`) of a row, which must be there, to `text`, upper
/// case. If they don't make whole digits, 0 bits come first.
void appendHexDigits(std::span<const unsigned char> row, std::uint64_t begin, std::uint64_t end,
                     std::string& text);

#endif
