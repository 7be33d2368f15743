#include "layout/maptext.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "files/read.h"
#include "reports/inputs.h"
#include "reports/position.h"

namespace {

constexpr std::size_t MOST_BYTES = std::size_t{16} << 20;
constexpr std::size_t MOST_DOTS = 1000;  // in a line; each may begin another table

// What a line has that toml++ 3.3 can't be trusted with; empty if nothing. Characters
// beyond ASCII lead it to undefined behaviour where it looks for white space, which also happens
// after a stray quote; and dots may nest tables deeper than the stack allows. Without strings of
// several lines, every line begins outside a string.
std::string_view untrusted(std::string_view line) {
  char quote = '\0';
  std::size_t dots = 0;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char character = line[i];
    if ((character & 0x80) != 0)
      return "not ASCII, outside a comment; \\u00E4 spells one in a string";
    if (quote != '\0') {
      if (character == '\\' && quote == '"') ++i;
      if (character == quote) quote = '\0';
      continue;
    }
    if (character == '#') return "";
    if (character == '"' || character == '\'') {
      if (line.substr(i).starts_with(std::string(3, character))) {
        return "a map has no strings of several lines";
      }
      quote = character;
    }
    if (character == '.' && ++dots > MOST_DOTS) return "too many dots";
  }
  return "";
}

std::string refuseUntrusted(const std::string& fileName, std::string_view text) {
  constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";
  if (text.starts_with(BYTE_ORDER_MARK)) text.remove_prefix(BYTE_ORDER_MARK.size());
  for (std::uint64_t number = 1; !text.empty(); ++number) {
    const std::string_view line = text.substr(0, text.find('\n'));
    const std::string_view reason = untrusted(line);
    if (!reason.empty()) return positionText(fileName, number) + std::string(reason);
    text.remove_prefix(std::min(line.size() + 1, text.size()));
  }
  return "";
}

}  // namespace

std::string readMapText(const std::string& fileName, ByteBuffer& text, FileIdentity& identity) {
  const ReadResult result = readWholeFile(fileName, text, MOST_BYTES);
  identity = identityOf(result.status);
  if (result.outcome == ReadResult::Outcome::TOO_LARGE) {
    return positionText(fileName) + "too long for a map";
  }
  const InputFault fault = faultOf(result, fileName);
  if (fault.kind != InputFault::Kind::NONE) return textOf(fault);
  return refuseUntrusted(fileName, text.text());
}
