#include "load/texts.h"

#include "base/digits.h"
#include "layout/number.h"

std::size_t addressDigits(std::uint64_t last) { return last > UINT32_MAX ? 16 : 8; }

std::string spellBytes(std::span<const unsigned char> bytes) {
  std::string text;
  text.reserve(bytes.size() * 2);
  for (const unsigned char byte : bytes) {
    text += HEX_DIGITS[byte >> 4];
    text += HEX_DIGITS[byte & 0xF];
  }
  return text;
}

std::string spellLocation(const Memory& memory, std::uint64_t offset) {
  if (!memory.hasByteAddresses()) {
    return memory.name + " word " + std::to_string(offset / memory.wordBytes());
  }
  if (memory.bases.empty()) return memory.name + "+" + spellHex(offset);
  const std::uint64_t base = memory.bases.front();
  return spellHex(base + offset, addressDigits(base + (memory.bytes() - 1)));
}

std::string nameWithLine(const Map& map, const Memory& memory) {
  return memory.name + " (" + map.file + ", line " + std::to_string(memory.line) + ")";
}
