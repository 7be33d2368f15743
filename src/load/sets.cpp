#include "load/sets.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "base/digits.h"
#include "layout/number.h"
#include "layout/spelling.h"
#include "load/texts.h"

namespace {

// A value as it is written: bytes, or a number that the memory's byte order makes bytes of.
struct Value {
  std::vector<unsigned char> bytes;
  std::uint64_t number = 0;
  std::size_t numberBytes = 0;  // 0 if it isn't a number
};

constexpr std::array<std::pair<std::string_view, std::size_t>, 4> NUMBERS = {
    {{"u8:", 1}, {"u16:", 2}, {"u32:", 4}, {"u64:", 8}}};

std::string parseSizedNumber(const std::string& text, std::size_t bytes, Value& value) {
  const std::optional<std::uint64_t> number = parseNumber(text);
  if (!number) return text + ": no number from 0 to 2^64 - 1";
  if (bytes < 8 && *number >> (8 * bytes) != 0) {
    return text + ": too large for " + std::to_string(8 * bytes) + " bits";
  }
  value.number = *number;
  value.numberBytes = bytes;
  return "";
}

std::string parseBytes(const std::string& text, Value& value) {
  if (text.empty() || text.size() % 2 != 0) {
    return text + ": no whole bytes: two hexadecimal digits each, or u8: u16: u32: u64: str:";
  }
  for (std::size_t i = 0; i < text.size(); i += 2) {
    const int high = hexDigitValue(text[i]), low = hexDigitValue(text[i + 1]);
    if (high < 0 || low < 0) return text + ": not hexadecimal, and no u8: u16: u32: u64: str:";
    value.bytes.push_back(static_cast<unsigned char>(high << 4 | low));
  }
  return "";
}

std::string parseValue(const std::string& text, Value& value) {
  for (const auto& [prefix, bytes] : NUMBERS) {
    if (text.starts_with(prefix)) return parseSizedNumber(text.substr(prefix.size()), bytes, value);
  }
  constexpr std::string_view STRING = "str:";
  if (!text.starts_with(STRING)) return parseBytes(text, value);
  value.bytes.assign(text.begin() + STRING.size(), text.end());
  return value.bytes.empty() ? "str: has no text" : "";
}

// Where all symbols of the name are. Nothing, with a sentence, unless that is one place.
class SymbolSearch {
 public:
  explicit SymbolSearch(std::string symbol) : name(std::move(symbol)) {}

  void look(const Content& content) {
    const std::vector<Symbol>& symbols = content.symbols;
    auto symbol = std::ranges::lower_bound(symbols, name, {}, &Symbol::name);
    for (; symbol != symbols.end() && symbol->name == name; ++symbol) add(content, *symbol);
  }

  std::string getFault() const {
    return !fault.empty() || place ? fault : "no memory and no symbol is called " + name;
  }
  const std::optional<Place>& getPlace() const { return place; }

 private:
  void add(const Content& content, const Symbol& symbol) {
    const std::optional<Place> at = content.placeOf(symbol);
    if (!at) {
      fault = content.file + ": symbol " + name + " is past the address 2^64 - 1";
    } else if (place && (place->memory != at->memory || place->value != at->value)) {
      fault = "symbol " + name + " stands for " + spellHex(place->value) + " (" + file +
              ") and for " + spellHex(at->value) + " (" + content.file + ")";
    } else {
      place = at;
      file = content.file;
    }
  }

  std::string name, fault, file;
  std::optional<Place> place;
};

// Finds the place of a name that isn't a number.
std::string resolveName(const std::string& name, const Map& map,
                        const std::deque<Content>& contents, const std::deque<Content>& symbolFiles,
                        Place& place) {
  SymbolSearch search(name);
  for (const Content& content : contents) search.look(content);
  for (const Content& content : symbolFiles) search.look(content);
  const std::optional<std::size_t> memory = findMemory(map, name);
  if (!memory) {
    if (std::string fault = search.getFault(); !fault.empty()) return fault;
    place = *search.getPlace();
    return "";
  }
  if (search.getPlace()) return name + " is a memory and a symbol; write the address";
  place = {memory, 0};
  return "";
}

// Turns an address into a byte of a memory.
std::string enterMemory(const Map& map, const AddressSpace& addresses, Place& place) {
  if (!place.memory) {
    const AddressRange* const range = addresses.find(place.value);
    if (range == nullptr) return spellHex(place.value) + " is in no memory";
    if (range->isOutside) {
      return spellHex(place.value) + " is in " + addresses.nameOf(*range) +
             ", outside of the bitstream";
    }
    place = {range->index, place.value - range->first};
  }
  const Memory& memory = map.memories[*place.memory];
  if (place.value < memory.bytes()) return "";
  return memory.name + " has only " + std::to_string(memory.bytes()) + " bytes";
}

// The bytes of a value in the byte order of the memory.
std::string spellInMemory(const Map& map, const Memory& memory, const Value& value,
                          std::vector<unsigned char>& bytes) {
  if (!memory.hasByteAddresses()) {
    return memory.name + " has words of " + std::to_string(memory.wordBits) +
           " bits, which no value can set";
  }
  if (!memory.order && (memory.wordBytes() > 1 || value.numberBytes > 1)) {
    return needsOrder(map, memory);
  }
  bytes = value.bytes;
  for (std::size_t i = 0; i < value.numberBytes; ++i) {
    bytes.push_back(static_cast<unsigned char>(value.number >> (8 * i)));
  }
  if (value.numberBytes > 0 && memory.order == std::endian::big) std::ranges::reverse(bytes);
  return "";
}

std::string read(const Assignment& text, const Map& map, const AddressSpace& addresses,
                 const std::deque<Content>& contents, const std::deque<Content>& symbolFiles,
                 SetValue& set) {
  Value value;
  if (std::string fault = parseValue(text.rest, value); !fault.empty()) return fault;
  const std::optional<PlaceText> placeText = parsePlace(text.place);
  if (!placeText) return "no place";
  Place place;
  if (!placeText->name.empty()) {
    std::string fault = resolveName(placeText->name, map, contents, symbolFiles, place);
    if (!fault.empty()) return fault;
  }
  const std::optional<Place> moved = place.after(placeText->number);
  if (!moved) return "past the address 2^64 - 1";
  place = *moved;
  if (std::string fault = enterMemory(map, addresses, place); !fault.empty()) return fault;
  const Memory& memory = map.memories[*place.memory];
  set.memory = *place.memory;
  set.offset = place.value;
  if (std::string fault = spellInMemory(map, memory, value, set.bytes); !fault.empty()) {
    return fault;
  }
  if (set.bytes.size() <= memory.bytes() - set.offset) return "";
  return std::to_string(set.bytes.size()) + " bytes reach over the end of " + memory.name;
}

}  // namespace

std::string readSet(const std::string& argument, const Map& map, const AddressSpace& addresses,
                    const std::deque<Content>& contents, const std::deque<Content>& symbolFiles,
                    SetValue& value) {
  const std::size_t equals = argument.find('=');
  if (equals == std::string::npos) return "--set " + argument + ": no PLACE=VALUE";
  value.place = argument.substr(0, equals);
  const std::string fault = read({value.place, argument.substr(equals + 1)}, map, addresses,
                                 contents, symbolFiles, value);
  return fault.empty() ? "" : "--set " + argument + ": " + fault;
}
