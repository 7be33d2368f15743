#include "ebr/command.h"

#include "ebr/section.h"

namespace {

std::uint64_t readField(const Bitstream& bitstream, std::uint64_t index, unsigned bits) {
  return bitstream.getWindow(index) >> (64 - bits);
}

// True if the eight bits from bit `index` on are there and have this value.
bool isOctet(const Bitstream& bitstream, std::uint64_t index, unsigned value) {
  return bitstream.getNumBits() - index >= OPCODE_BITS &&
         readField(bitstream, index, OPCODE_BITS) == value;
}

// True if `bits` bits and at least one more are there from bit `index` on: no field before the CRC
// can be the last one in a stream.
bool hasMoreThan(const Bitstream& bitstream, std::uint64_t index, std::uint64_t bits) {
  return bitstream.getNumBits() - index > bits;
}

}  // namespace

DataHeader readDataHeader(const Bitstream& bitstream, std::uint64_t index) {
  using enum CommandFault;
  if (!hasMoreThan(bitstream, index, UNCHECKED_BITS)) return {NO_UNCHECKED_BITS, index};
  index += UNCHECKED_BITS;
  if (!isOctet(bitstream, index, TAV_EBR_WRITE_OPCODE)) return {NO_WRITE_OPCODE, index};
  index += OPCODE_BITS;
  if (!isOctet(bitstream, index, CRC_DUMMY_FLAGS)) return {NO_CRC_DUMMY_FLAGS, index};
  index += OPCODE_BITS;
  if (!hasMoreThan(bitstream, index, FRAME_COUNT_BITS)) return {NO_FRAME_COUNT, index};
  return {NONE, index + FRAME_COUNT_BITS, readField(bitstream, index, FRAME_COUNT_BITS)};
}

EbrCommand readEbrCommand(const Bitstream& bitstream, std::uint64_t index,
                          std::uint64_t identifierBits) {
  EbrCommand command;
  command.opcodeIndex = index;
  command.identifierIndex = identifierIndexOf(bitstream, index);
  if (!hasIdentifier(bitstream, index, identifierBits)) {
    command.fault = CommandFault::NO_IDENTIFIER;
    command.faultIndex = command.identifierIndex;
    return command;
  }
  command.identifierBits = identifierBits;
  const DataHeader header = readDataHeader(bitstream, command.identifierIndex + identifierBits);
  command.fault = header.fault;
  command.faultIndex = command.payloadIndex = header.endIndex;
  command.frameCount = header.frameCount;
  const std::uint64_t bitsLeft = bitstream.getNumBits() - command.payloadIndex;
  if (command.fault == CommandFault::NONE && bitsLeft < command.payloadBits() + CRC_BITS) {
    command.fault = CommandFault::NO_PAYLOAD;
  }
  return command;
}

std::string_view fieldOf(const EbrCommand& command, std::uint64_t bitIndex) {
  if (command.fault != CommandFault::NONE || bitIndex < command.payloadIndex) return "header";
  return bitIndex < command.crcIndex() ? "contents" : "CRC";
}
