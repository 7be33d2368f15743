// Digits as text: '0' and '1' for bits, hexadecimal ones for nibbles.
#ifndef RAMGRAFT_BASE_DIGITS_H
#define RAMGRAFT_BASE_DIGITS_H

#include <string_view>

/// The upper-case hexadecimal digits, each at the index of its value.
inline constexpr std::string_view HEX_DIGITS = "0123456789ABCDEF";

/// '1' for true, '0' for false.
constexpr char binaryDigit(bool bit) { return bit ? '1' : '0'; }

/// The value of a hexadecimal digit in either case, or -1 for any other character.
constexpr int hexDigitValue(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  return -1;
}

#endif
