// The CRC-16 at the end of an EBR's command, of bytes in memory.
#ifndef RAMGRAFT_EBR_CRC_H
#define RAMGRAFT_EBR_CRC_H

#include <array>
#include <cstddef>
#include <cstdint>

/// Entry n is the remainder of the four bits n in a division by the reflected polynomial.
inline constexpr std::array<std::uint16_t, 16> CRC16_NIBBLE_TABLE = {
    0x0000, 0xCC01, 0xD801, 0x1400, 0xF001, 0x3C00, 0x2800, 0xE401,
    0xA001, 0x6C00, 0x7800, 0xB401, 0x5000, 0x9C01, 0x8801, 0x4400};

/// The CRC-16/UMTS (polynomial 0x8005, initial value 0, nothing reflected, no final XOR; check
/// value 0xFEE8 for "123456789") of `size` bytes at `bytes`.
std::uint16_t crc16(const unsigned char* bytes, std::size_t size);

#endif
