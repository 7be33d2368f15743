// Two ways to go through many bytes at a time, both because a CRC is linear: the remainder of a
// division by the polynomial P, where any multiple of P can be added without changing it.
//
// Folding. Over bits, squaring a sum squares its terms, so P = x^16 + x^15 + x^2 + 1 makes the
// multiples P^64 = x^1024 + x^960 + x^128 + 1 and P^128, with twice the exponents. In blocks of 64
// or 128 bits, their terms are 0, 1, 14 and 16 blocks apart: a block disappears when it is XORed
// into those 1, 14 and 16 behind it. That takes three XORs for a block, whatever the byte order,
// and leaves the last 16 blocks. The larger blocks are faster, the smaller ones leave less.
//
// Tables. The CRC of what is left is the XOR of what each of its bytes contributes alone, looked up
// BLOCK bytes at a time in one table for each distance to the block's end; a chain of one look-up
// per byte would wait for each before starting the next.
#include "ebr/crc.h"

#include <cstring>

#include "ebr/format.h"

namespace {

constexpr std::size_t BLOCK = 16;
using ByteTable = std::array<std::uint16_t, 256>;

constexpr std::uint16_t reverse16(std::uint16_t value) {
  return static_cast<std::uint16_t>(BIT_REVERSE_TABLE[value & 0xFF] << 8 |
                                    BIT_REVERSE_TABLE[value >> 8]);
}

// The CRC of the single byte `value`: two nibble steps of the reflected register.
constexpr std::uint16_t crcOfByte(unsigned value) {
  unsigned r = BIT_REVERSE_TABLE[value];
  for (int nibble = 0; nibble < 2; ++nibble) r = r >> 4 ^ CRC16_NIBBLE_TABLE[r & 0xF];
  return reverse16(static_cast<std::uint16_t>(r));
}

constexpr std::uint16_t appendZeroByte(std::uint16_t crc) {
  return static_cast<std::uint16_t>(crc << 8 ^ crcOfByte(crc >> 8));
}

constexpr std::array<ByteTable, BLOCK> makeContributions() {
  std::array<ByteTable, BLOCK> tables{};
  for (unsigned value = 0; value < 256; ++value) {
    tables[0][value] = crcOfByte(value);
    for (std::size_t d = 1; d < BLOCK; ++d) {
      tables[d][value] = appendZeroByte(tables[d - 1][value]);
    }
  }
  return tables;
}

// Entry [d][b]: the CRC of the byte b followed by d zero bytes.
constexpr std::array<ByteTable, BLOCK> CONTRIBUTIONS = makeContributions();

static_assert(CRC16_NIBBLE_TABLE[8] == CRC_REFLECTED_POLYNOMIAL);
static_assert(CONTRIBUTIONS[0][0x80] == 0x8303 && CONTRIBUTIONS[0][1] == 0x8005);

std::uint16_t crcByTables(const unsigned char* bytes, std::size_t size, std::uint16_t crc) {
  unsigned sum = crc;
  for (; size >= BLOCK; size -= BLOCK, bytes += BLOCK) {
    // What stands before the block acts as if XORed into its first two bytes.
    unsigned block = CONTRIBUTIONS[BLOCK - 1][bytes[0] ^ sum >> 8] ^
                     CONTRIBUTIONS[BLOCK - 2][bytes[1] ^ (sum & 0xFF)];
    for (std::size_t i = 2; i < BLOCK; ++i) block ^= CONTRIBUTIONS[BLOCK - 1 - i][bytes[i]];
    sum = block;
  }
  for (; size > 0; --size, ++bytes) sum = (sum << 8 & 0xFFFF) ^ CONTRIBUTIONS[0][*bytes ^ sum >> 8];
  return static_cast<std::uint16_t>(sum);
}

// A block of 128 bits, which GCC and Clang keep in a vector register of any processor.
using WideBlock = std::uint64_t __attribute__((vector_size(16)));

// As many blocks as folding leaves.
template <typename Block>
using Blocks = std::array<Block, 16>;

template <typename Block>
Blocks<Block> loadBlocks(const unsigned char* bytes) {
  Blocks<Block> blocks;
  std::memcpy(blocks.data(), bytes, sizeof blocks);
  return blocks;
}

// Messages from this size on are folded.
template <typename Block>
constexpr std::size_t FOLDED_SIZE = 2 * sizeof(Blocks<Block>);

// Makes a shorter message with the same CRC of at least FOLDED_SIZE bytes that follow on the CRC
// `crc`. Returns its size, which is below FOLDED_SIZE.
template <typename Block>
std::size_t fold(const unsigned char* bytes, std::size_t size, std::uint16_t crc,
                 std::array<unsigned char, FOLDED_SIZE<Block>>& shorter) {
  // What stands before the bytes acts as if XORed into the first two.
  const std::array<unsigned char, 2> before = {static_cast<unsigned char>(crc >> 8),
                                               static_cast<unsigned char>(crc & 0xFF)};
  Block last{};
  std::memcpy(&last, before.data(), sizeof before);
  Blocks<Block> folded{};  // the last blocks that disappeared, as they were then; a ring
  for (; size >= FOLDED_SIZE<Block>; size -= sizeof folded, bytes += sizeof folded) {
    const auto blocks = loadBlocks<Block>(bytes);
    for (std::size_t i = 0; i < blocks.size(); ++i) {
      last ^= blocks[i] ^ folded[(i + 2) % folded.size()] ^ folded[i];  // 1, 14 and 16 before it
      folded[i] = last;
    }
  }
  // In the blocks that stay, the same comes in as far as it is from those that disappeared.
  auto rest = loadBlocks<Block>(bytes);
  rest[0] ^= last;
  for (std::size_t i = 0; i < rest.size(); ++i) rest[i] ^= folded[i];
  for (std::size_t i = 0; i < 14; ++i) rest[i] ^= folded[i + 2];
  std::memcpy(shorter.data(), rest.data(), sizeof rest);
  std::memcpy(shorter.data() + sizeof rest, bytes + sizeof rest, size - sizeof rest);
  return size;
}

}  // namespace

unsigned char reverseByteBits(unsigned char value) { return BIT_REVERSE_TABLE[value]; }

std::uint16_t crc16(const unsigned char* bytes, std::size_t size, std::uint16_t crc) {
  std::array<unsigned char, FOLDED_SIZE<WideBlock>> folded;
  if (size >= folded.size()) {
    size = fold<WideBlock>(bytes, size, crc, folded);
    bytes = folded.data();
    crc = 0;
  }
  std::array<unsigned char, FOLDED_SIZE<std::uint64_t>> foldedAgain;
  if (size >= foldedAgain.size()) {
    size = fold<std::uint64_t>(bytes, size, crc, foldedAgain);
    bytes = foldedAgain.data();
    crc = 0;
  }
  return crcByTables(bytes, size, crc);
}
