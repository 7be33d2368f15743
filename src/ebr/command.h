// EbrCommand: what a bitstream contains at an EBR's address section.
#ifndef RAMGRAFT_EBR_COMMAND_H
#define RAMGRAFT_EBR_COMMAND_H

#include <cstdint>
#include <string_view>

#include "base/ramgraftbstream.h"
#include "ebr/format.h"

/// What is missing from a command, in stream order.
enum class CommandFault {
  NONE,
  NO_IDENTIFIER,      ///< the stream ends inside the zero bits or the identifier, or right after it
  NO_UNCHECKED_BITS,  ///< the stream ends inside the unchecked bits, or right after them
  NO_WRITE_OPCODE,    ///< no TAV_EBR_WRITE opcode follows
  NO_CRC_DUMMY_FLAGS,  ///< other flags follow TAV_EBR_WRITE
  NO_FRAME_COUNT,      ///< the stream ends inside the frame count, or right after it
  NO_PAYLOAD,          ///< the stream ends inside the payload or the CRC field
};

/// The beginning of a data section: the unchecked bits, opcode, flags and frame count.
struct DataHeader {
  CommandFault fault = CommandFault::NONE;  ///< never NO_IDENTIFIER or NO_PAYLOAD
  std::uint64_t endIndex = 0;    ///< bit index of the first payload bit, or of the field missing
  std::uint64_t frameCount = 0;  ///< 0 to 65535; 0 when there is a fault
};

/// Reads what follows the identifier that ends before bit `index`, at most the stream's size.
DataHeader readDataHeader(const Bitstream& bitstream, std::uint64_t index);

/// One EBR's command. Bit indexes of fields after the fault, if there is one, are meaningless.
struct EbrCommand {
  CommandFault fault = CommandFault::NONE;
  std::uint64_t faultIndex = 0;       ///< bit index of the field that is missing
  std::uint64_t opcodeIndex = 0;      ///< bit index of the address opcode
  std::uint64_t identifierIndex = 0;  ///< bit index of the identifier; see also identifierOf()
  std::uint64_t identifierBits = 0;   ///< 0 when the identifier is missing
  std::uint64_t frameCount = 0;
  std::uint64_t payloadIndex = 0;  ///< bit index of the first payload bit

  /// Bits of the payload.
  std::uint64_t payloadBits() const { return frameCount * FRAME_BITS; }
  /// Bytes of contents that the payload holds.
  std::uint64_t contentsBytes() const { return frameCount * FRAME_PAYLOAD_WORDS; }
  /// Bit index of the CRC field's first bit.
  std::uint64_t crcIndex() const { return payloadIndex + payloadBits(); }
};

/// The field of a command that contains a bit from its second on: "header", "contents" or "CRC".
std::string_view fieldOf(const EbrCommand& command, std::uint64_t bitIndex);

/// Reads the command of the address section that begins at bit `index`, as findAddressSection()
/// finds it, with an identifier of `identifierBits` bits.
EbrCommand readEbrCommand(const Bitstream& bitstream, std::uint64_t index,
                          std::uint64_t identifierBits);

#endif
