#include "layout/mapspelling.h"

#include <algorithm>

namespace {

using std::to_string;

std::string spellDesign(const std::string& design) { return "design = \"" + design + "\""; }

// One item as it is, several as a list.
template <typename Items, typename ToText>
std::string spellList(const Items& items, const ToText& toText) {
  std::string text;
  for (const auto& item : items) text += (text.empty() ? "" : ", ") + toText(item);
  return items.size() == 1 ? text : "[" + text + "]";
}

std::string spellWords(const std::vector<std::uint64_t>& words) {
  const bool areEqual = std::ranges::count(words, words.front()) == std::ssize(words);
  if (areEqual) return to_string(words.front() * words.size());
  return spellList(words, [](std::uint64_t count) { return to_string(count); });
}

std::string spellMemory(const NewMemory& memory) {
  const bool isQuoted = memory.name.find('.') != std::string::npos;
  const std::string name = isQuoted ? '"' + memory.name + '"' : memory.name;
  std::string text = "\n[memory." + name + "]\n";
  if (memory.wordBits % 8 == 0) text += "# base  = 0x0000_0000  # the address of its first byte\n";
  text += "words = " + spellWords(memory.words) + "\n";
  if (memory.wordBits % 8 == 0 && memory.wordBits > 8) {
    text += "# order = \"little\"     # or \"big\": which end of a word has the lowest address\n";
  }
  const auto quote = [](const std::string& file) { return '"' + file + '"'; };
  return text + "wid   = " + spellList(memory.widFiles, quote) + "\n";
}

}  // namespace

std::string spellMap(const std::string& design, const std::vector<NewMemory>& memories) {
  std::string text = "version = 1\n" + spellDesign(design) + "\n";
  for (const NewMemory& memory : memories) text += spellMemory(memory);
  return text;
}

std::string replaceDesign(std::string_view text, const Map& map, const std::string& design) {
  constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";
  std::string changed(text);
  std::size_t begin = text.starts_with(BYTE_ORDER_MARK) ? BYTE_ORDER_MARK.size() : 0;
  if (map.design.line == 0) return changed.insert(begin, spellDesign(design) + "\n");
  for (std::uint64_t line = 1; line < map.design.line; ++line) begin = text.find('\n', begin) + 1;
  const std::size_t end = std::min(text.find('\n', begin), text.size());
  const std::size_t value = text.find(map.design.value, begin);
  // Its digits may be spelled in another way, by escapes.
  if (value >= end) return changed.replace(begin, end - begin, spellDesign(design));
  return changed.replace(value, map.design.value.size(), design);
}
