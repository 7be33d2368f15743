#include "reports/inputs.h"

#include <cstring>

#include "ebr/format.h"
#include "reports/position.h"
#include "reports/text.h"

namespace {

using std::to_string;
using Kind = InputFault::Kind;

std::string placeOf(const InputFault& fault) { return positionText(fault.file, fault.line); }

std::string misfitsIn(const MemoryInputs& inputs) {
  const MemoryFileSummary& summary = inputs.summary;
  const bool isOne = summary.numMisfits == 1;
  return positionText(summary.file, summary.firstMisfitLine) + to_string(summary.numMisfits) +
         " of " + to_string(summary.numWords) +
         (isOne ? " memory words has " : " memory words have ") +
         "another number of bits than the EBRs share out (the first " +
         to_string(summary.firstMisfitBits) + ", the EBRs " +
         to_string(inputs.words->getRoundBits()) + "), which can spread words over the wrong EBRs";
}

}  // namespace

std::string textOf(const InputFault& fault) {
  switch (fault.kind) {
    case Kind::NONE:
      break;
    case Kind::CANT_OPEN:
      return "can't open file " + fault.file + ": " + std::strerror(fault.error);
    case Kind::CANT_READ:
      return "can't read file " + fault.file + ": " + std::strerror(fault.error);
    case Kind::CHANGED:
      return "can't read file " + fault.file + ": it was changed while in use";
    case Kind::TOO_LARGE:
      return "can't read file " + fault.file + ": it has more than " + to_string(MOST_INPUT_BYTES) +
             " bytes";
    case Kind::NO_LINES:
      return placeOf(fault) + "the width file is empty";
    case Kind::NO_WID:
      return placeOf(fault) + "no wid before the last line";
    case Kind::OTHER_LENGTH:
      return placeOf(fault) + "this wid's length differs from that of the first, " +
             to_string(fault.wanted);
    case Kind::NO_WIDTHS:
    case Kind::MALFORMED_WIDTHS:
      return placeOf(fault) + "no line of widths like aw10;dw8: " + excerptOf(fault.text);
    case Kind::DATA_WIDTH_TOO_SMALL:
      return placeOf(fault) + "a data width of " + to_string(fault.found) +
             " bits can't be shared out among " + to_string(fault.wanted) + " EBRs";
    case Kind::NOT_HEXADECIMAL:
      return placeOf(fault) + "not a hexadecimal word: " + excerptOf(fault.text);
    case Kind::INDIVISIBLE_WORD:
      return placeOf(fault) + "a memory word of " + to_string(fault.found) +
             " bits can't be split into groups of " + to_string(fault.wanted) + " bits";
    case Kind::LINE_TOO_LONG:
      return placeOf(fault) + "from here on an EBR gets more bits than one can take, in all " +
             to_string(fault.found);
  }
  return "";  // GCOVR_EXCL_LINE: nobody asks where there is no fault
}

std::string headOf(const InputFault& fault) {
  switch (fault.kind) {
    case Kind::CANT_OPEN:  // the two kinds of file have always had their own capitals
      return (fault.isBitstream ? "can't open file " : "Can't open file ") + fault.file;
    case Kind::NO_LINES:
      return "empty wid file!";
    case Kind::NO_WID:
    case Kind::OTHER_LENGTH:
      return "wid lengths must all be the same!";
    case Kind::NO_WIDTHS:
      return "bad .wid file, no addr/data width";
    case Kind::MALFORMED_WIDTHS:
      return "bad .wid file, malformed addr/data width";
    case Kind::NOT_HEXADECIMAL:
      return std::string("character ") + fault.character + " is not hexadecimal!";
    default:
      return "";
  }
}

std::string detailOf(const InputFault& fault) {
  switch (fault.kind) {
    case Kind::CANT_OPEN:
      return placeOf(fault) + std::strerror(fault.error);
    case Kind::NO_LINES:
      return "";
    case Kind::NO_WID:
      return placeOf(fault) + "no wid stands before the last line";
    case Kind::NO_WIDTHS:
    case Kind::MALFORMED_WIDTHS:
      return placeOf(fault) + excerptOf(fault.text);
    case Kind::LINE_TOO_LONG:
      return placeOf(fault) + "from here on a physical line has more than " +
             to_string(PHYSICAL_LINE_BITS) + " bits, in all " + to_string(fault.found) +
             ", which is no multiple of 8";
    default:
      return textOf(fault);
  }
}

std::vector<std::string> warningsOf(const MemoryInputs& inputs) {
  const MemoryFileSummary& summary = inputs.summary;
  std::vector<std::string> warnings;
  if (summary.numWords == 0) {
    warnings.push_back(summary.file +
                       ": holds no memory words: the listed EBRs are filled with zeros");
  }
  if (summary.numMisfits > 0) warnings.push_back(misfitsIn(inputs));
  const std::uint64_t addressed = inputs.widths.addressedWords();
  if (summary.numWords > addressed) {
    warnings.push_back(summary.file + ": " + to_string(summary.numWords) +
                       " memory words, but an address of " + to_string(inputs.widths.address) +
                       " bits reaches only " + to_string(addressed));
  }
  return warnings;
}
