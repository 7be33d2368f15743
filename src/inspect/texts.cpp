#include "inspect/texts.h"

#include <cstring>

#include "base/digits.h"
#include "console/lines.h"

namespace {

using std::to_string;

// What is wrong in a line.
std::string wordsInLine(const InputFault& fault) {
  using Kind = InputFault::Kind;
  switch (fault.kind) {
    case Kind::OTHER_LENGTH:
      return "this wid's length differs from that of the first, " + to_string(fault.wanted);
    case Kind::NO_WIDTHS:
    case Kind::MALFORMED_WIDTHS:
      return "no line of widths like aw10;dw8: " + excerptOf(fault.text);
    case Kind::DATA_WIDTH_TOO_SMALL:
      return "a data width of " + to_string(fault.found) + " bits can't be shared out among " +
             to_string(fault.wanted) + " EBRs";
    case Kind::NOT_HEXADECIMAL:
      return "not a hexadecimal word: " + excerptOf(fault.text);
    case Kind::INDIVISIBLE_WORD:
      return "a memory word of " + to_string(fault.found) + " bits can't be split into groups of " +
             to_string(fault.wanted) + " bits";
    case Kind::LINE_TOO_LONG:
      return "from here on an EBR gets more bits than one can take, in all " +
             to_string(fault.found);
    default:      // GCOVR_EXCL_LINE: the other kinds name no line
      return "";  // GCOVR_EXCL_LINE
  }
}

}  // namespace

std::string_view nameOf(CrcCheck::Verdict verdict) {
  switch (verdict) {
    case CrcCheck::Verdict::RIGHT:
      return "right";
    case CrcCheck::Verdict::EMPTY:
      return "empty";
    case CrcCheck::Verdict::WRONG:
      return "wrong";
    case CrcCheck::Verdict::UNCHECKABLE:
      break;
  }
  return "uncheckable";
}

std::string_view wordsOf(CommandFault fault) {
  switch (fault) {
    case CommandFault::NO_IDENTIFIER:
      return "the bitstream ends inside the identifier";
    case CommandFault::NO_UNCHECKED_BITS:
      return "the bitstream ends after the identifier";
    case CommandFault::NO_WRITE_OPCODE:
      return "no TAV_EBR_WRITE";
    case CommandFault::NO_CRC_DUMMY_FLAGS:
      return "no CRC/dummy bits after TAV_EBR_WRITE";
    case CommandFault::NO_FRAME_COUNT:
      return "the bitstream ends inside the frame count";
    case CommandFault::NO_PAYLOAD:
    case CommandFault::NONE:  // nothing to say, and nobody asks
      break;
  }
  return "the bitstream ends inside the payload";
}

std::string wordsOf(const InputFault& fault) {
  using Kind = InputFault::Kind;
  switch (fault.kind) {
    case Kind::CANT_OPEN:
      return "can't open file " + fault.file + ": " + std::strerror(fault.error);
    case Kind::CANT_READ:
      return "can't read file " + fault.file + ": " + std::strerror(fault.error);
    // GCOVR_EXCL_START: tests/faults.py has only ramgraft's files changed in time.
    case Kind::CHANGED:
      return "can't read file " + fault.file + ": it was changed while in use";
    // GCOVR_EXCL_STOP
    case Kind::NO_LINES:
      return fault.file + ": the width file is empty";
    case Kind::NO_WID:
      return fault.file + ": no wid before the last line";
    default:
      return fault.file + ", line " + to_string(fault.line) + ": " + wordsInLine(fault);
  }
}

std::string toHex16(std::uint16_t value) {
  std::string text;
  for (const int shift : {12, 8, 4, 0}) text += HEX_DIGITS[value >> shift & 0xFU];
  return text;
}

std::string countOf(std::uint64_t number, std::string_view noun) {
  return to_string(number).append(" ").append(noun).append(number == 1 ? "" : "s");
}

std::string_view differFor(std::uint64_t number) { return number == 1 ? " differs" : " differ"; }
