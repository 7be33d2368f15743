#include "reports/text.h"

#include "base/digits.h"

namespace {

std::string escaped(char character) {
  const auto byte = static_cast<unsigned char>(character);
  return {'\\', 'x', HEX_DIGITS[byte >> 4], HEX_DIGITS[byte & 0xF]};
}

}  // namespace

std::string excerptOf(std::string_view text) {
  constexpr std::size_t MOST_CHARACTERS = 60;
  std::string excerpt;
  for (const char character : text.substr(0, MOST_CHARACTERS)) {
    const bool isPrintable = character >= ' ' && character <= '~';
    excerpt += isPrintable ? std::string(1, character) : escaped(character);
  }
  if (text.size() > MOST_CHARACTERS) excerpt += "...";
  return excerpt;
}

std::string withoutControls(std::string_view text) {
  constexpr char DELETE = 0x7F;
  std::string fit;
  for (const char character : text) {
    const bool isControl = static_cast<unsigned char>(character) < ' ' || character == DELETE;
    fit += isControl ? escaped(character) : std::string(1, character);
  }
  return fit;
}

std::string toHex16(std::uint16_t value) {
  std::string text;
  for (const int shift : {12, 8, 4, 0}) text += HEX_DIGITS[value >> shift & 0xFU];
  return text;
}

std::string countOf(std::uint64_t number, std::string_view noun) {
  return std::to_string(number).append(" ").append(noun).append(number == 1 ? "" : "s");
}

std::string_view differFor(std::uint64_t number) { return number == 1 ? " differs" : " differ"; }
