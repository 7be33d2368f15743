#include "steps/messages.h"

#include <algorithm>
#include <cstring>

#include "console/lines.h"
#include "ebr/format.h"

namespace {

using std::to_string;

// "FILE, line N: ", the place that a line names.
std::string placeOf(const std::string& file, std::uint64_t line) {
  return file + ", line " + to_string(line) + ": ";
}

std::string placeOf(const InputFault& fault) { return placeOf(fault.file, fault.line); }

void printWidLengthFault(const InputFault& fault) {
  printLine("ERROR: wid lengths must all be the same!");
  if (fault.kind == InputFault::Kind::NO_WID) {
    printDiagnostic(fault.file, ": no wid stands before the last line");
  } else {
    printDiagnostic(placeOf(fault), "this wid's length differs from that of the first, ",
                    to_string(fault.wanted));
  }
}

void printReadFault(const InputFault& fault) {
  if (fault.kind == InputFault::Kind::CANT_OPEN) {
    // The two kinds of file have always said the same thing with their own capitals.
    printLine(fault.isBitstream ? "ERROR: can't open file " : "ERROR: Can't open file ",
              fault.file);
    printDiagnostic(fault.file, ": ", std::strerror(fault.error));
  } else {
    const bool isChanged = fault.kind == InputFault::Kind::CHANGED;
    printLine("ERROR: can't read file ", fault.file, ": ",
              isChanged ? "it was changed while in use" : std::strerror(fault.error));
  }
}

void printMisfits(const MemoryInputs& inputs, const std::string& memFile) {
  const MemoryFileSummary& summary = inputs.summary;
  printWarning(placeOf(memFile, summary.firstMisfitLine), to_string(summary.numMisfits), " of ",
               to_string(summary.numWords),
               summary.numMisfits == 1 ? " memory words has " : " memory words have ",
               "another number of bits than the EBRs share out (the first ",
               to_string(summary.firstMisfitBits), ", the EBRs ",
               to_string(inputs.words->getRoundBits()),
               "), which can spread words over the wrong EBRs");
}

}  // namespace

void printNotHexadecimal(char character) {
  printLine("ERROR: character ", std::string_view(&character, 1), " is not hexadecimal!");
}

void printWidthLineFault(InputFault::Kind kind) {
  const bool isMalformed = kind == InputFault::Kind::MALFORMED_WIDTHS;
  printLine("ERROR: bad .wid file, ", isMalformed ? "malformed" : "no", " addr/data width");
}

void printInputFault(const InputFault& fault) {
  using Kind = InputFault::Kind;
  switch (fault.kind) {
    case Kind::NONE:
      return;
    case Kind::CANT_OPEN:
    case Kind::CANT_READ:
    case Kind::CHANGED:
      return printReadFault(fault);
    case Kind::NO_LINES:
      return printLine("ERROR: empty wid file!");
    case Kind::NO_WID:
    case Kind::OTHER_LENGTH:
      return printWidLengthFault(fault);
    case Kind::NO_WIDTHS:
    case Kind::MALFORMED_WIDTHS:
      printWidthLineFault(fault.kind);
      return printDiagnostic(placeOf(fault), excerptOf(fault.text));
    case Kind::DATA_WIDTH_TOO_SMALL:
      return printLine("ERROR: ", placeOf(fault), "a data width of ", to_string(fault.found),
                       " bits can't be shared out among ", to_string(fault.wanted), " EBRs");
    case Kind::NOT_HEXADECIMAL:
      printNotHexadecimal(fault.character);
      return printLine("ERROR: ", placeOf(fault),
                       "not a hexadecimal word: ", excerptOf(fault.text));
    case Kind::INDIVISIBLE_WORD:
      return printLine("ERROR: ", placeOf(fault), "a memory word of ", to_string(fault.found),
                       " bits can't be split into groups of ", to_string(fault.wanted), " bits");
    case Kind::LINE_TOO_LONG:
      return printLine("ERROR: ", placeOf(fault), "from here on a physical line has more than ",
                       to_string(PHYSICAL_LINE_BITS), " bits, in all ", to_string(fault.found),
                       ", which is no multiple of 8");
  }
}

void printMemoryWarnings(const MemoryInputs& inputs, const std::string& memFile) {
  const MemoryFileSummary& summary = inputs.summary;
  if (summary.numWords == 0) {
    printWarning(memFile, ": holds no memory words: the listed EBRs are filled with zeros");
  }
  if (summary.numMisfits > 0) printMisfits(inputs, memFile);
  const int addrWidth = inputs.widths.address;
  const std::uint64_t addressed = addrWidth < 0 ? 0 : UINT64_C(1) << std::min(addrWidth, 63);
  if (summary.numWords > addressed) {
    printWarning(memFile, ": ", to_string(summary.numWords), " memory words, but an address of ",
                 to_string(addrWidth), " bits reaches only ", to_string(addressed));
  }
}

void printDataFault(CommandFault fault, std::uint64_t index) {
  switch (fault) {
    case CommandFault::NO_UNCHECKED_BITS:
      return printLine("ERROR: bitstream ends inside the ", to_string(UNCHECKED_BITS),
                       " bits behind the EBR identifier, at bit ", to_string(index));
    case CommandFault::NO_WRITE_OPCODE:
      return printLine("ERROR: didn't find TAV_EBR_WRITE");
    case CommandFault::NO_CRC_DUMMY_FLAGS:
      return printLine("ERROR: didn't find CRC/dummy bits after TAV_EBR_WRITE");
    case CommandFault::NO_FRAME_COUNT:
      return printLine("ERROR: bitstream ends inside the frame count of TAV_EBR_WRITE, at bit ",
                       to_string(index));
    // GCOVR_EXCL_START: a DataHeader has none of these
    case CommandFault::NONE:
    case CommandFault::NO_IDENTIFIER:
    case CommandFault::NO_PAYLOAD:
      return;
      // GCOVR_EXCL_STOP
  }
}

void printNoRoomForPayload(const Bitstream& bitstream, std::uint64_t index,
                           std::uint64_t frameCount) {
  printLine("ERROR: bitstream ends inside the EBR data: frame count ", to_string(frameCount),
            ", bits needed for payload and CRC ", to_string(frameCount * FRAME_BITS + CRC_BITS),
            ", bits left ", to_string(bitstream.getNumBits() - index), " at bit ",
            to_string(index));
}

void printWritten(const std::string& fileName, const ReplaceResult& result) {
  using Outcome = ReplaceResult::Outcome;
  if (result.isDone()) {
    printLine("STATUS: Successfully wrote ", fileName);
    return;
  }
  printLine("ERROR: Can't write file ", fileName);
  if (result.outcome == Outcome::PART_WRITTEN) {
    printLine("ERROR: ", fileName, " is not as it was, it may be part old, part new");
  }
  const bool isInUse = result.outcome == Outcome::IN_USE;
  printDiagnostic(fileName, ": ",
                  isInUse ? "another program is writing it" : std::strerror(result.error));
}
