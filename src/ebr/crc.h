// The CRC-16 at the end of an EBR's command, of bytes in memory.
#ifndef RAMGRAFT_EBR_CRC_H
#define RAMGRAFT_EBR_CRC_H

#include <array>
#include <cstddef>
#include <cstdint>

/// The value of BIT_REVERSE_TABLE.
constexpr std::array<unsigned char, 256> makeBitReverseTable() {
  std::array<unsigned char, 256> table{};
  for (unsigned i = 0; i < table.size(); ++i) {
    for (unsigned bit = 0; bit < 8; ++bit) {
      table[i] = static_cast<unsigned char>((i >> bit & 1U) << (7 - bit) | table[i]);
    }
  }
  return table;
}

/// Entry i is the byte i with its eight bits in reverse order.
inline constexpr std::array<unsigned char, 256> BIT_REVERSE_TABLE = makeBitReverseTable();

/// Entry n is the remainder of the four bits n in a division by the reflected polynomial.
inline constexpr std::array<std::uint16_t, 16> CRC16_NIBBLE_TABLE = {
    0x0000, 0xCC01, 0xD801, 0x1400, 0xF001, 0x3C00, 0x2800, 0xE401,
    0xA001, 0x6C00, 0x7800, 0xB401, 0x5000, 0x9C01, 0x8801, 0x4400};

/// `value` with its eight bits in reverse order.
unsigned char reverseByteBits(unsigned char value);

/// The CRC-16/UMTS (polynomial 0x8005, initial value 0, nothing reflected, no final XOR; check
/// value 0xFEE8 for "123456789") of `size` bytes at `bytes`.
std::uint16_t crc16(const unsigned char* bytes, std::size_t size);

#endif
