#include "load/place.h"

#include <algorithm>

#include "layout/mapfile.h"
#include "layout/number.h"
#include "load/texts.h"

namespace {

bool isDigit(char character) { return character >= '0' && character <= '9'; }

}  // namespace

std::optional<Place> Place::after(std::uint64_t bytes) const {
  if (bytes > UINT64_MAX - value) return std::nullopt;
  return Place{memory, value + bytes};
}

std::optional<PlaceText> parsePlace(std::string_view text) {
  if (text.empty()) return std::nullopt;
  if (isDigit(text.front())) {
    const std::optional<std::uint64_t> address = parseNumber(text);
    return address ? std::optional(PlaceText{"", *address}) : std::nullopt;
  }
  const std::size_t plus = text.rfind('+');
  if (plus == std::string_view::npos || plus + 1 == text.size() || !isDigit(text[plus + 1])) {
    return PlaceText{std::string(text), 0};
  }
  const std::optional<std::uint64_t> offset = parseNumber(text.substr(plus + 1));
  if (!offset) return std::nullopt;
  return PlaceText{std::string(text.substr(0, plus)), *offset};
}

std::optional<std::size_t> findMemory(const Map& map, std::string_view name) {
  const auto memory = std::ranges::find(map.memories, name, &Memory::name);
  if (memory == map.memories.end()) return std::nullopt;
  return static_cast<std::size_t>(memory - map.memories.begin());
}

Assignment splitAssignment(const std::string& text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos) return {"", text};
  const std::string before = text.substr(0, equals);
  const std::optional<PlaceText> place = parsePlace(before);
  const bool isPlace = place && (place->name.empty() || isMemoryName(place->name));
  // A number that is too large is a mistyped place, not a file.
  if (!isPlace && (before.empty() || !isDigit(before.front()))) return {"", text};
  return {before, text.substr(equals + 1)};
}
