#include "companion/base64.h"

#include <string_view>

std::string toBase64(std::span<const unsigned char> bytes) {
  constexpr std::string_view DIGITS =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const auto byteAt = [&](std::size_t at) { return at < bytes.size() ? bytes[at] : 0U; };
    const unsigned group = bytes[i] * 0x10000U + byteAt(i + 1) * 0x100U + byteAt(i + 2);
    for (const unsigned shift : {18U, 12U, 6U, 0U}) text += DIGITS[group >> shift & 63U];
  }
  text.replace(text.size() - (3 - bytes.size() % 3) % 3, std::string::npos,
               (3 - bytes.size() % 3) % 3, '=');
  return text;
}
