#include "steps/physicalline.h"

#include <algorithm>
#include <span>

#include "ebr/format.h"
#include "steps/ramgraftutil.h"

static_assert(PHYSICAL_BLOCK_WORDS == 2 && PHYSICAL_HALF_DATA_BITS == 8 &&
                  PHYSICAL_BLOCK_BITS == 2 * PAYLOAD_WORD_BITS + 2,
              "a block is 8 data bits, a 0, 8 data bits, three 0s");

std::string makePhysicalLine(EbrColumns& columns, std::uint64_t ebr) {
  const std::uint64_t dataBits = columns.getMemoryWords().getColumnBits(ebr);
  const std::span<const unsigned char> bytes = columns.get(ebr);
  std::string text;
  for (std::uint64_t i = 0; i < dataBits; ++i) {
    if (i % 16 == 8) text += '0';
    if (i % 16 == 0 && i > 0) text += "000";
    text += bitToChar((bytes[i / 8] >> i % 8 & 1) != 0);
  }
  // A line of the usual length is padded to whole digits here, and to its length as digits.
  if (text.size() < PHYSICAL_LINE_BITS) text.resize((text.size() + 7) / 8 * 8, '0');
  std::reverse(text.begin(), text.end());
  std::string digits;
  binaryStringToHex(text, digits);
  const std::size_t padding =
      PHYSICAL_LINE_BITS / 4 - std::min(digits.size(), PHYSICAL_LINE_BITS / 4);
  return std::string(padding, '0') + digits;
}

void appendPhysicalLines(const MemoryWords& words, std::vector<std::string>& lines) {
  EbrColumns columns(words);
  for (std::uint64_t ebr = 0; ebr < words.getNumEbrs(); ++ebr) {
    lines.push_back(makePhysicalLine(columns, ebr));
  }
}

bool appendPayloadBits(const std::string& physicalLine, std::uint64_t mostBits,
                       std::vector<bool>& payload) {
  std::vector<unsigned char> bytes;
  if (!hexStringToBytes(physicalLine, bytes)) return false;
  std::vector<bool> bits;
  bytesToBits(bytes, bits);
  for (std::size_t end = bits.size(); end >= PHYSICAL_BLOCK_BITS; end -= PHYSICAL_BLOCK_BITS) {
    for (const std::size_t word : {end - PAYLOAD_WORD_BITS, end - 2 * PAYLOAD_WORD_BITS}) {
      for (std::size_t i = word; i < word + PAYLOAD_WORD_BITS; ++i) {
        if (payload.size() == mostBits) return true;
        payload.push_back(bits[i]);
      }
    }
  }
  return true;
}
