// Conversions between bits, bytes, integers, binary-digit strings and hexadecimal strings.
//
// A binary-digit string is text of '0' and '1', first character most significant. A hexadecimal
// string has two digits to a byte, high nibble first. Except for a character that is not
// hexadecimal, which is bad input, misuse is a broken precondition: an assertion that aborts.
#ifndef RAMGRAFT_STEPS_RAMGRAFTUTIL_H
#define RAMGRAFT_STEPS_RAMGRAFTUTIL_H

#include <list>
#include <string>
#include <vector>

/// True if `bits` equal the digits of `value`, which must have as many characters as `bits` has
/// entries. Stops at the first difference; every character reached must be '0' or '1'. The list is
/// a copy: the caller's own is never touched.
bool checkBitsValue(std::list<bool> bits, const std::string& value);

/// True if `digit`, which must be '0' or '1', is the digit of `bit`. Fails as checkBitsValue()
/// does.
bool digitMatches(char digit, bool bit);

/// Fills `stringValue`, empty on entry, with the low `numBits` (0 to 31) bits of `value`, a
/// negative one in two's complement, most significant bit first.
void intToBinaryString(int value, short numBits, std::string& stringValue);

/// The value of at most 31 binary digits; 0 for none.
int binaryStringToInt(const std::string& binary);

/// Appends two upper-case hexadecimal digits to `hexString` for every 8 characters of `binaryStr`,
/// whose length must be a multiple of 8.
void binaryStringToHex(const std::string& binaryStr, std::string& hexString);

/// Fills `bytes`, empty on entry, from digits in either case; an odd count is read as if a '0' came
/// first. At a character that is not hexadecimal it prints the ERROR line that names it and returns
/// false; `bytes` then has the pairs completed before it.
bool hexStringToBytes(const std::string& hexString, std::vector<unsigned char>& bytes);

/// Fills `bits`, empty on entry, with 8 entries for each byte, most significant bit first.
void bytesToBits(const std::vector<unsigned char>& bytes, std::vector<bool>& bits);

/// '1' for true, '0' for false.
char bitToChar(bool bit);

#endif
