#include "data.h"

#include <array>
#include <random>
#include <utility>

#include "base/assertion.h"
#include "base/bits.h"
#include "ebr/format.h"

namespace {

constexpr std::uint64_t SEED = 1;

// 17 bits make the part of a command before its payload 13 whole bytes.
constexpr unsigned IDENTIFIER_BITS = 17;
constexpr std::uint64_t BEFORE_PAYLOAD_BITS =
    IDENTIFIER_OFFSET + IDENTIFIER_BITS + UNCHECKED_BITS + 2 * OPCODE_BITS + FRAME_COUNT_BITS;
static_assert(BEFORE_PAYLOAD_BITS % 8 == 0);

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

CommandStream::CommandStream(std::size_t numCommands, std::uint64_t numFrames) {
  const std::uint64_t commandBits = BEFORE_PAYLOAD_BITS + FRAME_BITS * numFrames + CRC_BITS;
  const std::size_t size = numCommands * commandBits / 8;
  ByteBuffer bytes = makeConfiguration((size + 7) / 8 * 8, Fill::DENSE);
  bytes.resize(size);
  bitstream.pushBytes(std::move(bytes));
  for (std::size_t i = 0; i < numCommands; ++i) {
    std::uint64_t at = i * commandBits;
    const auto put = [&](std::uint64_t value, unsigned count) {
      std::array<unsigned char, 8> field;
      storeBigEndian64(field.data(), value << (64 - count));
      bitstream.overwriteBits(at, field.data(), count);
      at += count;
    };
    sections.push_back(at);
    put(EBR_ADDRESS_OPCODE, OPCODE_BITS);
    put(0, ADDRESS_ZERO_BITS);
    put(i, IDENTIFIER_BITS);
    put(0, UNCHECKED_BITS);
    put(TAV_EBR_WRITE_OPCODE, OPCODE_BITS);
    put(CRC_DUMMY_FLAGS, OPCODE_BITS);
    put(numFrames, FRAME_COUNT_BITS);
    at += FRAME_BITS * numFrames;
    put(0, CRC_BITS);
    const std::uint64_t identifier = sections.back() + IDENTIFIER_OFFSET;
    bitstream.appendDigits(identifier, identifier + IDENTIFIER_BITS, wids.emplace_back());
  }
}
