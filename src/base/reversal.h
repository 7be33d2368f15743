// Bytes with their bits in reverse order.
#ifndef RAMGRAFT_BASE_REVERSAL_H
#define RAMGRAFT_BASE_REVERSAL_H

#include <array>

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

/// `value` with its eight bits in reverse order.
constexpr unsigned char reverseByteBits(unsigned char value) { return BIT_REVERSE_TABLE[value]; }

#endif
