#include "layout/spelling.h"

#include "base/digits.h"
#include "reports/position.h"

std::string needsOrder(const Map& map, const Memory& memory) {
  return positionText(map.file, memory.line) + memory.name +
         R"( needs order = "little" or "big": which end of a word has the lowest address)";
}

std::string spellWord(const Memory& memory, std::span<const unsigned char> image,
                      std::uint64_t word) {
  const std::span<const unsigned char> bytes = image.subspan(word * memory.wordBytes());
  std::string text;
  for (std::uint64_t bit = (memory.wordBits + 3) / 4 * 4; bit > 0; bit -= 4) {
    text += HEX_DIGITS[bytes[memory.byteOfBit(bit - 4)] >> (bit - 4) % 8 & 0xFU];
  }
  return text;
}
