#include "layout/number.h"

#include <charconv>

#include "base/digits.h"

namespace {

struct Digits {
  std::string text;  // without prefix and separators
  int base = 10;
};

// The digits of a number. Empty if a separator isn't between two of them.
Digits digitsOf(std::string_view text) {
  Digits digits;
  if (text.starts_with("0x") || text.starts_with("0X")) {
    digits.base = 16;
    text.remove_prefix(2);
  }
  bool isAfterDigit = false;
  for (const char character : text) {
    if (character == '_' && !isAfterDigit) return {};
    isAfterDigit = character != '_';
    if (isAfterDigit) digits.text += character;
  }
  return isAfterDigit ? digits : Digits();
}

}  // namespace

std::optional<std::uint64_t> parseNumber(std::string_view text) {
  const Digits digits = digitsOf(text);
  std::uint64_t number = 0;
  const char* const end = digits.text.data() + digits.text.size();
  const auto [rest, error] = std::from_chars(digits.text.data(), end, number, digits.base);
  if (error != std::errc() || rest != end) return std::nullopt;
  return number;
}

std::optional<std::vector<unsigned char>> parseWideNumber(std::string_view text) {
  if (const std::optional<std::uint64_t> number = parseNumber(text)) return bytesOf(*number);
  const auto [digits, base] = digitsOf(text);
  if (base != 16) return std::nullopt;
  std::vector<unsigned char> bytes((digits.size() + 1) / 2);
  for (std::size_t i = 0; i < digits.size(); ++i) {
    const int value = hexDigitValue(digits[digits.size() - 1 - i]);
    if (value < 0) return std::nullopt;
    bytes[i / 2] = static_cast<unsigned char>(bytes[i / 2] | value << i % 2 * 4);
  }
  while (!bytes.empty() && bytes.back() == 0) bytes.pop_back();
  return bytes;
}

std::vector<unsigned char> bytesOf(std::uint64_t number) {
  std::vector<unsigned char> bytes;
  for (; number != 0; number >>= 8) bytes.push_back(static_cast<unsigned char>(number));
  return bytes;
}

std::string spellHex(std::uint64_t value, std::size_t minDigits) {
  std::string digits;
  for (; value != 0 || digits.size() < minDigits; value >>= 4) {
    digits.insert(digits.begin(), HEX_DIGITS[value & 0xF]);
  }
  return "0x" + digits;
}
