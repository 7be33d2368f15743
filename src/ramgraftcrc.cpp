// Two ways to go through many bytes at a time, both because a CRC is linear: the remainder of a
// division by the polynomial P, where any multiple of P can be added without changing it.
//
// Folding. Over bits, squaring a sum squares its terms, so P = x^16 + x^15 + x^2 + 1 makes the
// multiple P^64 = x^1024 + x^960 + x^128 + 1. In blocks of 64 bits its terms are 0, 1, 14 and 16
// blocks apart: a block disappears when it is XORed into those 1, 14 and 16 behind it. That takes
// three XORs for eight bytes, whatever their byte order, and leaves the last 16 blocks.
//
// Tables. The CRC of what is left is the XOR of what each of its bytes contributes alone, looked up
// BLOCK bytes at a time in one table for each distance to the block's end; a chain of one look-up
// per byte would wait for each before starting the next.
#include "ramgraftcrc.h"

#include <cstring>

#include "ramgraftformat.h"

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

// The blocks of 64 bits that folding leaves.
using Blocks = std::array<std::uint64_t, 16>;

Blocks loadBlocks(const unsigned char* bytes) {
  Blocks blocks;
  std::memcpy(blocks.data(), bytes, sizeof blocks);
  return blocks;
}

}  // namespace

unsigned char reverseByteBits(unsigned char value) { return BIT_REVERSE_TABLE[value]; }

std::uint16_t crc16(const unsigned char* bytes, std::size_t size, std::uint16_t crc) {
  if (size < 2 * sizeof(Blocks)) return crcByTables(bytes, size, crc);
  // What stands before the bytes acts as if XORed into the first two.
  const std::array<unsigned char, 8> before = {static_cast<unsigned char>(crc >> 8),
                                               static_cast<unsigned char>(crc & 0xFF)};
  std::uint64_t last = 0;
  std::memcpy(&last, before.data(), sizeof last);
  Blocks folded{};  // the last blocks that disappeared, as they were then; a ring
  for (; size >= 2 * sizeof folded; size -= sizeof folded, bytes += sizeof folded) {
    const Blocks blocks = loadBlocks(bytes);
    for (std::size_t i = 0; i < blocks.size(); ++i) {
      last ^= blocks[i] ^ folded[(i + 2) % folded.size()] ^ folded[i];  // 1, 14 and 16 before it
      folded[i] = last;
    }
  }
  // In the blocks that stay, the same comes in as far as it is from those that disappeared.
  Blocks rest = loadBlocks(bytes);
  rest[0] ^= last;
  for (std::size_t i = 0; i < rest.size(); ++i) rest[i] ^= folded[i] ^ (i < 14 ? folded[i + 2] : 0);
  std::array<unsigned char, sizeof rest> restBytes;
  std::memcpy(restBytes.data(), rest.data(), sizeof rest);
  const std::uint16_t restCrc = crcByTables(restBytes.data(), sizeof rest, 0);
  return crcByTables(bytes + sizeof rest, size - sizeof rest, restCrc);
}
