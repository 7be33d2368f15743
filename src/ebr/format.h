// The facts of the bitstream format, each in one place. docs/format.md draws them.
//
// An EBR's command, in stream order, most significant bit first (widths in bits):
//
//   |  8   |   36   | identifier |   11    |  8   |  8   |     16      | 72 x frame count | 16  |
//   | 0xF6 | 0 ... 0| bits       | any bits| 0xB2 | 0xD0 | frame count |     payload      | CRC |
//   '---- address section -------'         '--------------- data section ---------------------'
#ifndef RAMGRAFT_EBR_FORMAT_H
#define RAMGRAFT_EBR_FORMAT_H

#include <cstdint>

/// Bits in an opcode and in the CRC/dummy flags.
inline constexpr unsigned OPCODE_BITS = 8;
/// Opcode of the EBR address command.
inline constexpr unsigned EBR_ADDRESS_OPCODE = 0xF6;
/// Zero bits between the address opcode and the identifier.
inline constexpr unsigned ADDRESS_ZERO_BITS = 36;
/// Bits from the first bit of the address opcode to the first bit of the identifier.
inline constexpr std::uint64_t IDENTIFIER_OFFSET = OPCODE_BITS + ADDRESS_ZERO_BITS;

/// Bits between the identifier and the data section; their values mean nothing here.
inline constexpr unsigned UNCHECKED_BITS = 11;
/// Opcode of the TAV_EBR_WRITE data command.
inline constexpr unsigned TAV_EBR_WRITE_OPCODE = 0xB2;
/// The CRC/dummy flags after TAV_EBR_WRITE.
inline constexpr unsigned CRC_DUMMY_FLAGS = 0xD0;
/// Width in bits of the frame count after the flags.
inline constexpr unsigned FRAME_COUNT_BITS = 16;

/// Bits in one payload word: a 0 bit, then a byte of contents, most significant bit first.
inline constexpr std::uint64_t PAYLOAD_WORD_BITS = 9;
/// Payload words in one frame.
inline constexpr std::uint64_t FRAME_PAYLOAD_WORDS = 8;
/// Bits in one frame of payload.
inline constexpr std::uint64_t FRAME_BITS = PAYLOAD_WORD_BITS * FRAME_PAYLOAD_WORDS;

/// Bits before the payload that the CRC covers, whatever the identifier's width.
inline constexpr std::uint64_t CRC_HEADER_BITS = 96;
/// Width in bits of the CRC field after the payload.
inline constexpr std::uint64_t CRC_BITS = 16;
/// The CRC's generator polynomial, reflected. With initial value 0 and no final XOR this is the
/// parameter set published as CRC-16/UMTS (also CRC-16/BUYPASS): polynomial 0x8005, nothing
/// reflected, check value 0xFEE8 for the nine bytes "123456789".
inline constexpr std::uint16_t CRC_REFLECTED_POLYNOMIAL = 0xA001;

/// Bits to which a physical line is padded.
inline constexpr std::uint64_t PHYSICAL_LINE_BITS = 65536;
/// A physical line consists of blocks, read from its end: 8 data bits, a 0, 8 data bits, three 0s.
inline constexpr std::uint64_t PHYSICAL_BLOCK_BITS = 20;
/// Data bits in each half of a block.
inline constexpr std::uint64_t PHYSICAL_HALF_DATA_BITS = 8;
/// Payload words that one block carries.
inline constexpr std::uint64_t PHYSICAL_BLOCK_WORDS = 2;

#endif
