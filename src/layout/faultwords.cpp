#include "layout/faultwords.h"

#include <cstring>

#include "base/digits.h"
#include "reports/position.h"

std::string sentenceOf(const InputFault& fault) {
  using Kind = InputFault::Kind;
  switch (fault.kind) {
    case Kind::CANT_OPEN:
      return "can't open file " + fault.file + ": " + std::strerror(fault.error);
    case Kind::CANT_READ:
    case Kind::CHANGED:
      return "can't read file " + fault.file + ": " + std::strerror(fault.error);
    case Kind::NO_LINES:
      return positionText(fault.file) + "the width file is empty";
    case Kind::NO_WID:
      return positionText(fault.file) + "no wid before the last line";
    case Kind::OTHER_LENGTH:
      return positionText(fault.file, fault.line) +
             "this wid's length differs from that of the first, " + std::to_string(fault.wanted);
    case Kind::DATA_WIDTH_TOO_SMALL:
      return positionText(fault.file, fault.line) + "a data width of " +
             std::to_string(fault.found) + " bits can't be shared out among " +
             std::to_string(fault.wanted) + " EBRs";
    default:
      return positionText(fault.file, fault.line) +
             "no line of widths like aw10;dw8: " + shown(fault.text);
  }
}

std::string_view sentenceOf(CommandFault fault) {
  switch (fault) {
    case CommandFault::NO_WRITE_OPCODE:
      return "no TAV_EBR_WRITE";
    case CommandFault::NO_CRC_DUMMY_FLAGS:
      return "no CRC/dummy bits after TAV_EBR_WRITE";
    case CommandFault::NO_FRAME_COUNT:
      return "the bitstream ends inside the frame count";
    case CommandFault::NO_PAYLOAD:
      return "the bitstream ends inside the payload";
    default:
      return "the bitstream ends after the identifier";
  }
}

std::string shown(std::string_view text) {
  constexpr std::size_t MOST_CHARACTERS = 60;
  std::string excerpt;
  for (const char character : text.substr(0, MOST_CHARACTERS)) {
    const auto byte = static_cast<unsigned char>(character);
    if (byte >= ' ' && byte <= '~') {
      excerpt += character;
    } else {
      excerpt += {'\\', 'x', HEX_DIGITS[byte >> 4], HEX_DIGITS[byte & 0xF]};
    }
  }
  return text.size() > MOST_CHARACTERS ? excerpt + "..." : excerpt;
}
