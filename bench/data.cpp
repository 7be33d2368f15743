#include "data.h"

#include <array>
#include <random>
#include <utility>

#include "base/assertion.h"
#include "base/bits.h"
#include "ebr/format.h"

namespace {

constexpr std::uint64_t SEED = 1;

// 17 bits make the part of a section before its payload 13 whole bytes.
constexpr unsigned WID_BITS = 17;
constexpr std::uint64_t BEFORE_PAYLOAD_BITS = 104;
static_assert(ADDRESS_SECTION_BITS + WID_BITS + UNCHECKED_BITS + 16 + DATA_COUNT_BITS ==
              BEFORE_PAYLOAD_BITS);

}  // namespace

ByteBuffer makeConfiguration(std::size_t size, Fill fill) {
  constexpr std::uint64_t ALWAYS_SET = 0x0000001000000010;
  assertThat(size % 8 == 0, "ByteBuffer makeConfiguration(std::size_t, Fill)", "size % 8 == 0");
  std::mt19937_64 random(SEED);
  ByteBuffer bytes;
  bytes.resize(size);
  for (std::size_t at = 0; at < size; at += 8) {
    std::uint64_t word = random();
    for (int i = 0; fill == Fill::SPARSE && i < 3; ++i) word &= random();
    storeBigEndian64(bytes.data() + at, word | ALWAYS_SET);
  }
  return bytes;
}

std::string makeMemoryText(std::size_t size, std::size_t wordBits) {
  constexpr char DIGITS[] = "0123456789ABCDEF";
  std::mt19937_64 random(SEED);
  std::string text;
  while (text.size() < size) {
    for (std::size_t i = 0; i < wordBits / 4; ++i) text += DIGITS[random() % 16];
    text += '\n';
  }
  return text;
}

SectionStream::SectionStream(std::size_t numSections, int numFrames)
    : payloadBits(FRAME_BITS * static_cast<std::uint64_t>(numFrames)) {
  const std::uint64_t sectionBits = BEFORE_PAYLOAD_BITS + payloadBits + CRC_BITS;
  const std::size_t size = numSections * sectionBits / 8;
  ByteBuffer bytes = makeConfiguration((size + 7) / 8 * 8, Fill::DENSE);
  bytes.resize(size);
  bitstream.pushBytes(std::move(bytes));
  for (std::size_t i = 0; i < numSections; ++i) {
    std::uint64_t at = i * sectionBits;
    const auto put = [&](std::uint64_t value, unsigned count) {
      std::array<unsigned char, 8> field;
      storeBigEndian64(field.data(), value << (64 - count));
      bitstream.overwriteBits(at, field.data(), count);
      at += count;
    };
    put(0xF6, 8);
    put(0, ADDRESS_ZERO_BITS);
    put(i, WID_BITS);
    put(0, UNCHECKED_BITS);
    put(0xB2D0, 16);
    put(static_cast<std::uint64_t>(numFrames), DATA_COUNT_BITS);
    payloads.push_back(at);
    at += payloadBits;
    put(0, CRC_BITS);

    std::string wid;
    for (unsigned bit = WID_BITS; bit-- > 0;) wid += (i >> bit & 1) != 0 ? '1' : '0';
    wids.push_back(wid);
  }
}

std::uint64_t SectionStream::payloadBehind(std::uint64_t identifierIndex) {
  return identifierIndex + BEFORE_PAYLOAD_BITS - ADDRESS_SECTION_BITS;
}
