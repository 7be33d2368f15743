#include "run/ramgraft.h"

#include <new>
#include <string>
#include <string_view>

#include "base/digits.h"
#include "console/lines.h"
#include "ebr/chain.h"
#include "ebr/columns.h"
#include "ebr/command.h"
#include "ebr/edit.h"
#include "files/process.h"
#include "files/replace.h"
#include "inputs/loading.h"
#include "steps/messages.h"

namespace {

// Sets `section` to the bit index of the address section that carries the wid.
bool findSection(const std::string& wid, SectionChain& chain, std::uint64_t& section) {
  switch (chain.find(wid, section)) {
    case SectionChain::Outcome::FOUND:
      return true;
    case SectionChain::Outcome::NO_SECTION:
      printLine("ERROR : didn't find EBR address section for wid ", wid);
      return false;
    case SectionChain::Outcome::RAN_OFF_END:
      break;
  }
  printLine("ERROR: ran off end of bit file looking for wid ", wid);
  return false;
}

void printCommandFault(const Bitstream& bitstream, const EbrCommand& command) {
  if (command.fault == CommandFault::NO_PAYLOAD) {
    printNoRoomForPayload(bitstream, command.payloadIndex, command.frameCount);
  } else {
    printDataFault(command.fault, command.faultIndex);
  }
}

std::string toHex16(unsigned value) {
  std::string text = "0x";
  for (const int shift : {12, 8, 4, 0}) text += HEX_DIGITS[value >> shift & 0xF];
  return text;
}

// A base file that is damaged, or that the width file doesn't fit, shows in the old CRC.
void printWarnings(const Edit& edit, const std::string& foreignWid) {
  const std::string wid = excerptOf(foreignWid);
  if (edit.oldCrc.verdict == CrcCheck::Verdict::WRONG) {
    printWarning("wid ", wid, ": the CRC of the old contents is ", toHex16(edit.oldCrc.stored),
                 ", should be ", toHex16(edit.oldCrc.computed),
                 ": the bitstream may be damaged, or the wid file may not fit it");
  }
  if (edit.givenWords > edit.writtenWords) {
    printWarning("wid ", wid, ": the memory file gives ", std::to_string(edit.givenWords),
                 " words of 8 bits, the EBR takes ", std::to_string(edit.writtenWords),
                 ": the rest is not written");
  }
  if (edit.hiddenCommand != NOT_FOUND) {
    printWarning("wid ", wid,
                 ": the new contents end like an EBR address section, which hides the ",
                 "EBR command at bit ", std::to_string(edit.hiddenCommand), " from every search");
  }
}

bool replaceAllContents(const MemoryInputs& inputs, Bitstream& bitstream) {
  SectionChain chain(bitstream, inputs.wids);
  EbrColumns columns(*inputs.words);
  const std::size_t numEbrs = inputs.wids.size();
  for (std::size_t i = 0; i < numEbrs; ++i) {
    const std::string& wid = inputs.wids[i];
    std::uint64_t section = 0;
    if (!findSection(wid, chain, section)) return false;
    printLine("STATUS: Replacing contents of EBR ID# ", wid, " (", std::to_string(i + 1), "/",
              std::to_string(numEbrs), ")");
    const EbrCommand command = readEbrCommand(bitstream, section, wid.size());
    if (command.fault != CommandFault::NONE) {
      printCommandFault(bitstream, command);
      return false;
    }
    printWarnings(replaceContents(bitstream, command, columns, i), wid);
    // The new contents may spell an address section, or break one that the old ones spelled.
    chain.bitsChanged(command.payloadIndex, command.crcIndex() + CRC_BITS);
  }
  return true;
}

bool load(const InputNames& names, MemoryInputs& inputs, Bitstream& bitstream,
          FileIdentity& bitFile) {
  InputFault fault = loadMemoryInputs(names, inputs);
  if (fault.kind == InputFault::Kind::NONE) {
    printMemoryWarnings(inputs, names.mem);
    fault = loadBitstream(names.bit, bitstream, bitFile);
  }
  printInputFault(fault);
  return fault.kind == InputFault::Kind::NONE;
}

bool write(const std::string& fileName, const Bitstream& bitstream, const FileIdentity& bitFile) {
  const SignalHold signals;  // until the line is printed that reports what became of the file
  const ReplaceResult result =
      replaceFile(fileName, bitstream.getBytes(), bitstream.getNumBytes(), bitFile, signals);
  printWritten(fileName, result);
  return result.isDone();
}

bool graft(const InputNames& names, const std::string& outputFile) {
  Bitstream bitstream(0);
  MemoryInputs inputs;
  FileIdentity bitFile;
  printLine("STATUS: loading input files");
  if (!load(names, inputs, bitstream, bitFile)) return false;
  printLine("STATUS: input files loaded successfully");
  const unsigned long origNumBits = bitstream.getNumBits();
  printLine("STATUS: processing bitstream");
  if (!replaceAllContents(inputs, bitstream)) return false;
  // GCOVR_EXCL_START: nothing in a run changes the size of a stream
  if (bitstream.getNumBits() != origNumBits) {
    printLine("ERROR: number of bits in new bitstream does not match old bitstream!");
    return false;
  }
  // GCOVR_EXCL_STOP
  return write(outputFile, bitstream, bitFile);
}

}  // namespace

int runRamgraft(int argc, const char* const argv[]) {
  prepareProcess();
  if (argc != 5) {
    printLine("Usage: ramgraft <input_file.bit> <file.wid> <file.mem> <output_file.bit>");
    return 1;
  }
  constexpr std::string_view SELF_CHECK = "TEST";
  if (argv[1] == SELF_CHECK && argv[2] == SELF_CHECK && argv[3] == SELF_CHECK) {
    runUnitTests();
    return 0;
  }
  try {
    return graft({argv[1], argv[2], argv[3]}, argv[4]) ? 0 : 1;
    // GCOVR_EXCL_START: sanitizers need all the addresses there are, so no test limits the memory
  } catch (const std::bad_alloc&) {
    printLine("ERROR: out of memory");
    return 1;
  }
  // GCOVR_EXCL_STOP
}
