#include "reports/ebrs.h"

#include <algorithm>

#include "ebr/section.h"
#include "ebr/width.h"
#include "inputs/filekind.h"
#include "reports/position.h"
#include "reports/text.h"

using std::to_string;

std::string_view nameOf(CrcCheck::Verdict verdict) {
  constexpr std::string_view NAMES[] = {"right", "empty", "wrong", "uncheckable"};
  return NAMES[static_cast<std::size_t>(verdict)];
}

std::string_view textOf(CommandFault fault) {
  constexpr std::string_view TEXTS[] = {
      "nothing",
      "the bitstream ends inside the identifier",
      "the bitstream ends after the identifier",
      "no TAV_EBR_WRITE",
      "no CRC/dummy bits after TAV_EBR_WRITE",
      "the bitstream ends inside the frame count",
      "the bitstream ends inside the payload",
  };
  return TEXTS[static_cast<std::size_t>(fault)];
}

std::string textOf(const Lookup& lookup) {
  const std::string text = "EBR " + excerptOf(lookup.wid);
  switch (lookup.outcome) {
    case SectionChain::Outcome::NO_SECTION:
      return text + " isn't in the bitstream";
    case SectionChain::Outcome::RAN_OFF_END:
      return text + " isn't in the bitstream, which ends inside an identifier";
    case SectionChain::Outcome::FOUND:
      break;
  }
  return (text + " at bit " + to_string(lookup.command.opcodeIndex) + ": ")
      .append(textOf(lookup.command.fault));
}

std::string hintOf(const Lookup& lookup, const Bitstream& bitstream, const std::string& bitFile) {
  if (lookup.wid.find_first_not_of("01") != std::string::npos) {
    return "wid " + excerptOf(lookup.wid) + " has other characters than 0 and 1";
  }
  const auto* const bytes = reinterpret_cast<const char*>(bitstream.getBytes());
  const FileKind kind = fileKindOf({bytes, bitstream.getNumBytes()});
  if (kind == FileKind::GZIP) return positionText(bitFile) + "gzip data";
  if (kind == FileKind::ELF) return positionText(bitFile) + "an ELF file";
  const WidthFinding found = findIdentifierBits(bitstream, findAllSections(bitstream));
  if (found.numEbrs == 0) return positionText(bitFile) + "holds no EBR, whatever the wids' length";
  return positionText(bitFile) + "has " + countOf(found.numEbrs, "EBR") + " with identifiers of " +
         countOf(found.identifierBits, "bit");
}

std::string detailOf(const EbrCommand& command, const Bitstream& bitstream) {
  const std::string atBit = " at bit " + to_string(command.faultIndex);
  switch (command.fault) {
    case CommandFault::NO_UNCHECKED_BITS:
      return "bitstream ends inside the " + to_string(UNCHECKED_BITS) +
             " bits behind the EBR identifier," + atBit;
    case CommandFault::NO_WRITE_OPCODE:
      return "didn't find TAV_EBR_WRITE";
    case CommandFault::NO_CRC_DUMMY_FLAGS:
      return "didn't find CRC/dummy bits after TAV_EBR_WRITE";
    case CommandFault::NO_FRAME_COUNT:
      return "bitstream ends inside the frame count of TAV_EBR_WRITE," + atBit;
    case CommandFault::NO_PAYLOAD:
    case CommandFault::NO_IDENTIFIER:  // never: a look-up finds complete sections only
    case CommandFault::NONE:
      break;
  }
  return "bitstream ends inside the EBR data: frame count " + to_string(command.frameCount) +
         ", bits needed for payload and CRC " + to_string(command.payloadBits() + CRC_BITS) +
         ", bits left " +
         to_string(bitstream.getNumBits() - std::min(command.faultIndex, bitstream.getNumBits())) +
         atBit;
}

std::string detailOf(const Lookup& lookup, const Bitstream& bitstream) {
  switch (lookup.outcome) {
    case SectionChain::Outcome::NO_SECTION:
      return "didn't find EBR address section for wid " + lookup.wid;
    case SectionChain::Outcome::RAN_OFF_END:
      return "ran off end of bit file looking for wid " + lookup.wid;
    case SectionChain::Outcome::FOUND:
      break;
  }
  return detailOf(lookup.command, bitstream);
}

// A base file that is damaged, or that the width file doesn't fit, shows in the old CRC.
std::string crcWarningOf(const CrcCheck& crc, const std::string& wid) {
  return "wid " + excerptOf(wid) + ": the CRC of the old contents is 0x" + toHex16(crc.stored) +
         ", should be 0x" + toHex16(crc.computed) +
         ": the bitstream may be damaged, or the wid file may not fit it";
}

std::vector<std::string> warningsOf(const GraftReport& report, const std::string& wid) {
  std::vector<std::string> warnings;
  if (report.oldCrc.verdict == CrcCheck::Verdict::WRONG) {
    warnings.push_back(crcWarningOf(report.oldCrc, wid));
  }
  const std::string ebr = "wid " + excerptOf(wid) + ": ";
  if (report.givenWords > report.writtenWords) {
    warnings.push_back(ebr + "the memory file gives " + to_string(report.givenWords) +
                       " words of 8 bits, the EBR takes " + to_string(report.writtenWords) +
                       ": the rest is not written");
  }
  return warnings;
}

std::string lostCrcsWarning(std::uint64_t lost) {
  return countOf(lost, "EBR") + (lost == 1 ? " has" : " have") +
         " a CRC that isn't right now or can't be checked: it covers bits of its own field or of "
         "another EBR's";
}

std::string textOf(const Hiding& hiding, const Bitstream& bitstream) {
  using enum Hiding::Kind;
  const std::string bit = to_string(hiding.section);
  std::string place;
  if (hiding.around) {
    const EbrCommand& around = *hiding.around;
    place.append(" in the ").append(fieldOf(around, hiding.section)).append(" of EBR ");
    place += excerptOf(identifierOf(bitstream, around.opcodeIndex, around.identifierBits));
  }
  switch (hiding.kind) {
    case REACHES_INTO:
      return "what looks like an address at bit " + bit + place + " reaches into it";
    case COMES_FIRST:
      return "what looks like its address comes first, at bit " + bit + place;
    case OVERWRITTEN:
      break;
  }
  return "it is overwritten" + place;
}

std::string textOf(const HiddenCommand& command, const Bitstream& bitstream, bool isNew) {
  return "EBR " + excerptOf(command.identifier) + " at bit " + to_string(command.section) +
         (isNew ? " is now" : " is") +
         " hidden from ramgraft: " + textOf(command.hiding, bitstream);
}
