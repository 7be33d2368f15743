// The facts of the bitstream format, each in one place. docs/format.md draws them.
//
// One EBR's commands, in stream order, most significant bit first (widths in bits):
//
//   |  8   |   36   | wid length |   11    |  8   |  8   |    16     | 72 x dataCount | 16  |
//   | 0xF6 | 0 ... 0| identifier | any bits| 0xB2 | 0xD0 | dataCount |    payload     | CRC |
//   '----- address section -----'          '------------- data section -------------------'
#ifndef RAMGRAFT_EBR_FORMAT_H
#define RAMGRAFT_EBR_FORMAT_H

#include <cstdint>

/// Opcode of the EBR address command, 0xF6, first bit first.
inline constexpr char EBR_ADDRESS_OPCODE[] = "11110110";
/// Bits in EBR_ADDRESS_OPCODE.
inline constexpr std::uint64_t EBR_ADDRESS_OPCODE_BITS = sizeof(EBR_ADDRESS_OPCODE) - 1;
/// Zero bits between the address opcode and the identifier.
inline constexpr int ADDRESS_ZERO_BITS = 36;
/// Bits from the first bit of the address opcode to the first bit of the identifier.
inline constexpr std::uint64_t ADDRESS_SECTION_BITS = EBR_ADDRESS_OPCODE_BITS + ADDRESS_ZERO_BITS;

/// Bits between the identifier and the data command; their values mean nothing here.
inline constexpr int UNCHECKED_BITS = 11;
/// Opcode of the TAV_EBR_WRITE data command, 0xB2, first bit first.
inline constexpr char TAV_EBR_WRITE_OPCODE[] = "10110010";
/// The CRC/dummy flags behind TAV_EBR_WRITE, 0xD0, first bit first.
inline constexpr char CRC_DUMMY_BITS[] = "11010000";
/// Width in bits of the frame count behind the flags.
inline constexpr int DATA_COUNT_BITS = 16;

/// Bits in one payload word: a 0 bit, then a byte of contents, most significant bit first.
inline constexpr std::uint64_t WORD_BITS = 9;
/// Payload words in one frame.
inline constexpr std::uint64_t FRAME_WORDS = 8;
/// Bits in one payload frame.
inline constexpr std::uint64_t FRAME_BITS = WORD_BITS * FRAME_WORDS;

/// Bits of the EBR's commands before the payload that the CRC covers.
inline constexpr std::uint64_t CRC_HEADER_BITS = 96;
/// Width in bits of the CRC field behind the payload.
inline constexpr std::uint64_t CRC_BITS = 16;
/// The CRC's generator polynomial, reflected. With initial value 0 and no final XOR this is the
/// parameter set published as CRC-16/UMTS (also CRC-16/BUYPASS): polynomial 0x8005, nothing
/// reflected, check value 0xFEE8 for the nine bytes "123456789".
inline constexpr std::uint16_t CRC_REFLECTED_POLYNOMIAL = 0xA001;

/// Characters (one per bit) to which a physical column is padded.
inline constexpr std::uint64_t COLUMN_LENGTH = 65536;
/// A column is built of blocks of 20 characters: 8 data bits, '0', 8 data bits, "000".
inline constexpr std::uint64_t COLUMN_BLOCK_LENGTH = 20;
/// Data bits carried by one column block.
inline constexpr std::uint64_t COLUMN_BLOCK_DATA_BITS = 16;

#endif
