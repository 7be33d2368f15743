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

std::string textOf(const RepeatedWid& repeated) {
  const std::string text = positionText(repeated.file, repeated.line) + "lists the EBR of line " +
                           to_string(repeated.firstLine) +
                           " again: it gets the contents for the later line";
  if (repeated.numLines == 1) return text;
  return text + "; in all, " + countOf(repeated.numLines, "line") + " list an EBR again";
}

}  // namespace

std::string textOf(const InputFault& fault) {
  const std::string place = placeOf(fault), excerpt = excerptOf(fault.text);
  const std::string found = to_string(fault.found), wanted = to_string(fault.wanted);
  switch (fault.kind) {
    case Kind::CANT_OPEN:
      return "can't open file " + fault.file + ": " + std::strerror(fault.error);
    case Kind::CANT_READ:
      return "can't read file " + fault.file + ": " + std::strerror(fault.error);
    case Kind::CHANGED:
      return "can't read file " + fault.file + ": it was changed while in use";
    case Kind::TOO_LARGE:
      return "can't read file " + fault.file + ": it has more than " + to_string(MOST_INPUT_BYTES) +
             " bytes";
    case Kind::CUT_SHORT:
      return "can't read file " + fault.file + ": it ends before its size says so";
    // GCOVR_EXCL_START: a test would wait for a minute
    case Kind::LOCKED:
      return "can't read file " + fault.file + ": another program has had it locked for " +
             to_string(LONGEST_WAIT_SECONDS) + " seconds";
    // GCOVR_EXCL_STOP
    case Kind::NO_LINES:
      return place + "the width file is empty";
    case Kind::NO_WID:
      return place + "no wid before the last line";
    case Kind::OTHER_LENGTH:
      return place + "this wid's length differs from that of the first, " + wanted;
    case Kind::DATA_WIDTH_TOO_SMALL:
      return place + "a data width of " + found + " bits can't be shared out among " + wanted +
             " EBRs";
    case Kind::NOT_HEXADECIMAL:
      return place + "not a hexadecimal word: " + excerpt;
    case Kind::INDIVISIBLE_WORD:
      return place + "a memory word of " + found + " bits can't be split into groups of " + wanted +
             " bits";
    case Kind::LINE_TOO_LONG:
      return place + "from here on an EBR gets more bits than one can take, in all " + found;
    case Kind::NO_WIDTHS:
    case Kind::MALFORMED_WIDTHS:
    case Kind::NONE:  // nobody asks
      break;
  }
  return place + "no line of widths like aw10;dw8: " + excerpt;
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
      return "character " + excerptOf({&fault.character, 1}) + " is not hexadecimal!";
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

std::string hintOf(const InputFault& fault) {
  const bool isMemoryFile =
      fault.kind == Kind::NOT_HEXADECIMAL || fault.kind == Kind::INDIVISIBLE_WORD;
  const std::string place = positionText(fault.file);
  const char* const what = fault.fileKind == FileKind::ELF    ? "an ELF file"
                           : fault.fileKind == FileKind::GZIP ? "gzip data"
                                                              : "binary data";
  switch (fault.fileKind) {
    case FileKind::TEXT:
      return "";
    case FileKind::BYTE_ORDER_MARK:
      return place + "begins with a byte order mark; save it as plain text";
    case FileKind::GZIP:
      if (isMemoryFile) return place + what + ", no memory file";
      break;
    case FileKind::ELF:
    case FileKind::BINARY:
      if (isMemoryFile) return place + what + "; ramgraft-load takes it";
      break;
  }
  return place + what + ", no width file; the order is IN.bit WID MEM OUT.bit";
}

std::vector<std::string> warningsOf(const MemoryInputs& inputs) {
  const MemoryFileSummary& summary = inputs.summary;
  std::vector<std::string> warnings;
  if (inputs.repeated.numLines > 0) warnings.push_back(textOf(inputs.repeated));
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
