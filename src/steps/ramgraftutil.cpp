#include "steps/ramgraftutil.h"

#include "base/assertion.h"
#include "base/digits.h"
#include "console/lines.h"
#include "reports/inputs.h"

namespace {

constexpr char CHECK_BITS_VALUE[] = "bool checkBitsValue(std::list<bool>, const string&)";

}  // namespace

// The list comes by value because callers may rely on handing over a copy.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
bool checkBitsValue(std::list<bool> bits, const std::string& value) {
  assertThat(bits.size() == value.size(), CHECK_BITS_VALUE, "bits.size() == value.size()");
  std::size_t index = 0;
  for (const bool bit : bits) {
    if (!digitMatches(value.at(index), bit)) return false;
    ++index;
  }
  return true;
}

bool digitMatches(char digit, bool bit) {
  assertThat(digit == '1' || digit == '0', CHECK_BITS_VALUE,
             "value.at(index) == '1' || value.at(index) == '0'");
  return (digit == '1') == bit;
}

void intToBinaryString(int value, short numBits, std::string& stringValue) {
  constexpr char SIGNATURE[] = "void intToBinaryString(int, short int, std::string&)";
  const auto width = static_cast<std::size_t>(numBits);  // a negative width becomes a huge one
  assertThat(width < sizeof(value) * 8, SIGNATURE, "numBits < sizeof(value) * 8");
  assertThat(stringValue.empty(), SIGNATURE, "stringValue.size() == 0");
  const auto bits = static_cast<unsigned>(value);
  for (std::size_t i = width; i-- > 0;) stringValue += bitToChar((bits >> i & 1) != 0);
  assertThat(stringValue.size() == width, SIGNATURE, "stringValue.size() == numBits");
}

int binaryStringToInt(const std::string& binary) {
  constexpr char SIGNATURE[] = "int binaryStringToInt(const string&)";
  assertThat(binary.size() < sizeof(int) * 8, SIGNATURE, "binary.size() < sizeof(int) * 8");
  int value = 0;
  for (const char digit : binary) {
    assertThat(digit == '0' || digit == '1', SIGNATURE, "0");
    value = value * 2 + (digit == '1' ? 1 : 0);
  }
  return value;
}

void binaryStringToHex(const std::string& binaryStr, std::string& hexString) {
  assertThat(binaryStr.size() % 8 == 0, "void binaryStringToHex(const string&, std::string&)",
             "binaryStr.size() % 8 == 0");
  for (std::size_t i = 0; i < binaryStr.size(); i += 8) {
    const auto byte = static_cast<unsigned>(binaryStringToInt(binaryStr.substr(i, 8)));
    hexString += HEX_DIGITS[byte >> 4];
    hexString += HEX_DIGITS[byte & 0xF];
  }
}

bool hexStringToBytes(const std::string& hexString, std::vector<unsigned char>& bytes) {
  assertThat(bytes.empty(), "bool hexStringToBytes(const string&, std::vector<unsigned char>&)",
             "bytes.size() == 0");
  bool isLowNibble = hexString.size() % 2 == 1;  // of an odd count the first digit is alone
  int byte = 0;
  for (const char digit : hexString) {
    const int value = hexDigitValue(digit);
    if (value < 0) {
      printLine("ERROR: ", headOf({.kind = InputFault::Kind::NOT_HEXADECIMAL, .character = digit}));
      return false;
    }
    byte = byte << 4 | value;
    if (isLowNibble) {
      bytes.push_back(static_cast<unsigned char>(byte));
      byte = 0;
    }
    isLowNibble = !isLowNibble;
  }
  return true;
}

void bytesToBits(const std::vector<unsigned char>& bytes, std::vector<bool>& bits) {
  for (const unsigned char byte : bytes) {
    for (int bit = 7; bit >= 0; --bit) bits.push_back((byte >> bit & 1) != 0);
  }
  assertThat(bits.size() == bytes.size() * 8,
             "void bytesToBits(const std::vector<unsigned char>&, std::vector<bool>&)",
             "bits.size() == bytes.size() * 8");
}

char bitToChar(bool bit) { return binaryDigit(bit); }
