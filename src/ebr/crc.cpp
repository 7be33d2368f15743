// A CRC is linear: the CRC of a message is the XOR of what each of its bytes contributes alone. So
// BLOCK bytes at a time are looked up, each in the table for its distance to the block's end. A
// chain of one look-up per byte would wait for each before starting the next.
#include "ebr/crc.h"

#include "base/reversal.h"
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

static_assert(CRC16_NIBBLE_TABLE[8] == CRC_REFLECTED_POLYNOMIAL && CRC_BITS == 16);
static_assert(CONTRIBUTIONS[0][1] == reverse16(CRC_REFLECTED_POLYNOMIAL));

}  // namespace

std::uint16_t crc16(const unsigned char* bytes, std::size_t size) {
  unsigned sum = 0;
  for (; size >= BLOCK; size -= BLOCK, bytes += BLOCK) {
    // The CRC so far acts as if XORed into the block's first two bytes.
    unsigned block = CONTRIBUTIONS[BLOCK - 1][bytes[0] ^ sum >> 8] ^
                     CONTRIBUTIONS[BLOCK - 2][bytes[1] ^ (sum & 0xFF)];
    for (std::size_t i = 2; i < BLOCK; ++i) block ^= CONTRIBUTIONS[BLOCK - 1 - i][bytes[i]];
    sum = block;
  }
  for (; size > 0; --size, ++bytes) sum = (sum << 8 & 0xFFFF) ^ CONTRIBUTIONS[0][*bytes ^ sum >> 8];
  return static_cast<std::uint16_t>(sum);
}
