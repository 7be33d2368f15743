// Each table of a map has a list of its keys, and each key a function that takes its value. What
// holds for all tables (unknown keys, missing ones, the order of the file) is in readTable().
#include "layout/mapfile.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <optional>
#include <span>
#include <utility>

#include "layout/fingerprint.h"
#include "layout/maptext.h"
#include "layout/number.h"
#include "reports/position.h"
#include "reports/text.h"

#define TOML_EXCEPTIONS 0
#define TOML_ENABLE_FORMATTERS 0
// A map needs three. With the dots that readMapText() allows in a line this bounds how deep tables
// are, which are freed recursively.
#define TOML_MAX_NESTED_VALUES 8
#include <toml++/toml.h>

namespace {

// A value, and what messages need to name it.
struct Value {
  const std::string& file;
  const toml::node& node;
  std::string name;  // "memory.rom.words"

  std::uint64_t line() const { return node.source().begin.line; }
  std::string refuse(const std::string& text) const {
    return positionText(file, line()) + name + " " + text;
  }
};

template <typename Table>
struct Key {
  std::string_view name;
  bool isRequired;
  std::string (*read)(const Value&, Table&);
};

// How many characters must be inserted, deleted or replaced to make `known` of `key`.
std::size_t editDistance(std::string_view key, std::string_view known) {
  std::vector<std::size_t> distances(known.size() + 1);
  std::iota(distances.begin(), distances.end(), std::size_t{0});
  for (const char character : key.substr(0, 100)) {
    std::size_t diagonal = distances[0]++;
    for (std::size_t i = 0; i < known.size(); ++i) {
      const std::size_t replaced = diagonal + (known[i] == character ? 0 : 1);
      diagonal = distances[i + 1];
      distances[i + 1] = std::min({replaced, diagonal + 1, distances[i] + 1});
    }
  }
  return distances.back();
}

template <typename Table>
std::string unknownKey(const Value& owner, const toml::key& key, const toml::node& node,
                       std::span<const Key<Table>> keys) {
  const auto nearest = std::ranges::min_element(
      keys, {}, [&](const Key<Table>& known) { return editDistance(key.str(), known.name); });
  std::string text = positionText(owner.file, key.source().begin.line) + "unknown key " +
                     excerptOf(key.str()) + (owner.name.empty() ? "" : " in " + owner.name) +
                     "; did you mean " + std::string(nearest->name) + "?";
  if (node.is_table()) text += " Write a name with a dot in quotes.";
  return text;
}

using Entry = std::pair<const toml::key*, const toml::node*>;

// A table's entries as the file has them; toml++ sorts them by name.
std::vector<Entry> inFileOrder(const toml::table& table) {
  std::vector<Entry> entries;
  for (auto&& [key, node] : table) entries.emplace_back(&key, &node);
  const auto isBefore = [](const Entry& a, const Entry& b) {
    return a.first->source().begin < b.first->source().begin;
  };
  std::ranges::sort(entries, isBefore);
  return entries;
}

Value valueIn(const Value& owner, const Entry& entry) {
  const std::string name = excerptOf(entry.first->str());
  return {owner.file, *entry.second, owner.name.empty() ? name : owner.name + "." + name};
}

template <typename Table>
std::string readTable(const Value& value, std::span<const Key<Table>> keys, Table& result) {
  const toml::table* const table = value.node.as_table();
  if (table == nullptr) return value.refuse("must be a table");
  for (const Entry& entry : inFileOrder(*table)) {
    const auto known = std::ranges::find(keys, entry.first->str(), &Key<Table>::name);
    if (known == keys.end()) return unknownKey(value, *entry.first, *entry.second, keys);
    std::string fault = known->read(valueIn(value, entry), result);
    if (!fault.empty()) return fault;
  }
  for (const Key<Table>& key : keys) {
    if (!key.isRequired || table->contains(key.name)) continue;
    if (!value.name.empty()) return value.refuse("has no " + std::string(key.name));
    return positionText(value.file) + std::string(key.name) + " is missing";
  }
  return "";
}

// ---- Values ----

std::optional<std::uint64_t> numberIn(const toml::node& node) {
  if (const auto* text = node.as_string()) return parseNumber(text->get());
  const auto* integer = node.as_integer();
  if (integer == nullptr || integer->get() < 0) return std::nullopt;
  return static_cast<std::uint64_t>(integer->get());
}

std::string noNumber(const Value& value) {
  return value.refuse(
      "must be a number from 0 to 2^64 - 1; one above 2^63 - 1 is written as a string, "
      "\"0xFFFF_0000_0000_0000\"");
}

std::string readNumber(const Value& value, std::uint64_t& number) {
  const std::optional<std::uint64_t> read = numberIn(value.node);
  if (!read) return noNumber(value);
  number = *read;
  return "";
}

std::string readNumbers(const Value& value, Located<std::vector<std::uint64_t>>& numbers) {
  numbers.line = value.line();
  const toml::array* const list = value.node.as_array();
  if (list == nullptr) return readNumber(value, numbers.value.emplace_back());
  for (const toml::node& node : *list) {
    std::string fault = readNumber({value.file, node, value.name}, numbers.value.emplace_back());
    if (!fault.empty()) return fault;
  }
  return list->empty() ? value.refuse("is an empty list") : "";
}

std::string readBase(const Value& value, MemoryTable& memory) {
  memory.base.line = value.line();
  return readNumber(value, memory.base.value);
}

std::string readAlsoAt(const Value& value, MemoryTable& memory) {
  return readNumbers(value, memory.alsoAt);
}

std::string readWordCounts(const Value& value, MemoryTable& memory) {
  std::string fault = readNumbers(value, memory.words);
  if (!fault.empty()) return fault;
  return std::ranges::count(memory.words.value, UINT64_C(0)) == 0
             ? ""
             : value.refuse("must be at least 1");
}

std::string readOrder(const Value& value, MemoryTable& memory) {
  const std::optional<std::string_view> text = value.node.value_exact<std::string_view>();
  if (text != "little" && text != "big") return value.refuse("must be \"little\" or \"big\"");
  memory.order = {text == "little" ? std::endian::little : std::endian::big, value.line()};
  return "";
}

std::string readFill(const Value& value, MemoryTable& memory) {
  std::optional<std::vector<unsigned char>> bytes;
  if (const auto* text = value.node.as_string()) {
    bytes = parseWideNumber(text->get());
  } else if (const std::optional<std::uint64_t> number = numberIn(value.node)) {
    bytes = bytesOf(*number);
  }
  if (!bytes)
    return value.refuse("must be a number; a large one is written as a string, \"0x...\"");
  memory.fill = {std::move(*bytes), value.line()};
  return "";
}

std::string readWidName(const Value& value, std::vector<WidName>& lanes) {
  const auto* const text = value.node.as_string();
  if (text == nullptr || text->get().empty() || text->get().find('\0') != std::string::npos) {
    return value.refuse("must be the name of a width file, or a list of them, or of such lists");
  }
  lanes.push_back({text->get(), value.line()});
  return "";
}

std::string readLanes(const Value& value, std::vector<WidName>& lanes) {
  const toml::array* const list = value.node.as_array();
  if (list == nullptr) return readWidName(value, lanes);
  for (const toml::node& node : *list) {
    std::string fault = readWidName({value.file, node, value.name}, lanes);
    if (!fault.empty()) return fault;
  }
  return list->empty() ? value.refuse("has an empty list") : "";
}

std::string readWid(const Value& value, MemoryTable& memory) {
  memory.wid.line = value.line();
  const toml::array* const list = value.node.as_array();
  if (list == nullptr) return readLanes(value, memory.wid.value.emplace_back());
  for (const toml::node& node : *list) {
    std::string fault = readLanes({value.file, node, value.name}, memory.wid.value.emplace_back());
    if (!fault.empty()) return fault;
  }
  return list->empty() ? value.refuse("has an empty list") : "";
}

std::string readOutsideBase(const Value& value, OutsideRange& range) {
  return readNumber(value, range.base);
}

std::string readOutsideBytes(const Value& value, OutsideRange& range) {
  std::string fault = readNumber(value, range.bytes);
  if (!fault.empty()) return fault;
  return range.bytes != 0 ? "" : value.refuse("must be at least 1");
}

// ---- Tables ----

constexpr std::array<Key<MemoryTable>, 6> MEMORY_KEYS = {{{"base", false, readBase},
                                                          {"words", true, readWordCounts},
                                                          {"order", false, readOrder},
                                                          {"wid", true, readWid},
                                                          {"also-at", false, readAlsoAt},
                                                          {"fill", false, readFill}}};

constexpr std::array<Key<OutsideRange>, 2> OUTSIDE_KEYS = {
    {{"base", true, readOutsideBase}, {"bytes", true, readOutsideBytes}}};

}  // namespace

bool isMemoryName(std::string_view name) {
  constexpr std::string_view FIRST = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_";
  constexpr std::string_view FURTHER = "0123456789.-";
  if (name.empty() || FIRST.find(name.front()) == FIRST.npos) return false;
  return std::ranges::all_of(name, [&](char character) {
    return FIRST.find(character) != FIRST.npos || FURTHER.find(character) != FURTHER.npos;
  });
}

namespace {

// Reads a table of named tables, all with the same keys.
template <typename Table>
std::string readNamed(const Value& value, std::span<const Key<Table>> keys,
                      std::vector<Table>& tables) {
  const toml::table* const table = value.node.as_table();
  if (table == nullptr) return value.refuse("must have a table for each name");
  for (const Entry& entry : inFileOrder(*table)) {
    const Value named = valueIn(value, entry);
    if (!isMemoryName(entry.first->str())) {
      return named.refuse(
          "is no name: one has letters, digits, _ . -, and begins with a letter or _");
    }
    Table& read = tables.emplace_back();
    read.name = entry.first->str();
    read.line = entry.first->source().begin.line;
    std::string fault = readTable(named, keys, read);
    if (!fault.empty()) return fault;
  }
  return "";
}

std::string readVersion(const Value& value, MapFile&) {
  const std::optional<std::int64_t> version = value.node.value_exact<std::int64_t>();
  return version == 1 ? "" : value.refuse("must be 1, the only one that is known");
}

std::string readDesign(const Value& value, MapFile& map) {
  const auto* const text = value.node.as_string();
  if (text == nullptr || !isFingerprint(text->get())) {
    return value.refuse(
        "must be a string of xxh3: and 16 digits, as ramgraft-inspect list prints it");
  }
  map.design = {text->get(), value.line()};
  return "";
}

std::string readMemories(const Value& value, MapFile& map) {
  std::string fault = readNamed<MemoryTable>(value, MEMORY_KEYS, map.memories);
  if (fault.empty() && map.memories.empty()) return value.refuse("has no memories");
  return fault;
}

std::string readOutside(const Value& value, MapFile& map) {
  return readNamed<OutsideRange>(value, OUTSIDE_KEYS, map.outside);
}

constexpr std::array<Key<MapFile>, 4> MAP_KEYS = {{{"version", true, readVersion},
                                                   {"memory", true, readMemories},
                                                   {"outside", false, readOutside},
                                                   {"design", false, readDesign}}};

// ---- The file ----

std::string syntaxError(const std::string& fileName, const toml::parse_error& error) {
  const toml::source_position where = error.source().begin;
  const std::string_view text = error.description();
  const bool isTooLarge = text.find("not representable in 64 bits") != text.npos;
  return positionText(fileName, where.line, where.column) +
         (isTooLarge ? "numbers above 2^63 - 1 are written as a string, \"0x...\""
                     : std::string(text.substr(0, std::min(text.find('\n'), std::size_t{200}))));
}

}  // namespace

std::string readMapFile(const std::string& fileName, MapFile& mapFile) {
  ByteBuffer text;
  std::string fault = readMapText(fileName, text, mapFile.identity);
  if (!fault.empty()) return fault;
  const toml::parse_result parsed = toml::parse(text.text());
  if (!parsed) return syntaxError(fileName, parsed.error());
  return readTable<MapFile>({fileName, parsed.table(), ""}, MAP_KEYS, mapFile);
}
