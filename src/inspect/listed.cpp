#include "inspect/listed.h"

#include "layout/fingerprint.h"
#include "reports/ebrs.h"
#include "reports/text.h"

std::string fingerprintOf(const SectionTable& table) {
  std::vector<EbrCommand> walk;
  for (const std::uint64_t section : table.getWalk()) walk.push_back(table.getCommand(section));
  return fingerprintOf(table.getBitstream(), walk);
}

std::string reasonOf(const OtherSection& other) {
  if (other.field.empty()) return std::string(textOf(other.command.fault));
  return "in the " + std::string(other.field) + " of " + other.around;
}

Json toJson(const ListedEbr& ebr, const MappedStream& mapped) {
  const CrcCheck& crc = ebr.facts.crc;
  // GCOVR_EXCL_START: of one statement, gcov takes some lines for untouched.
  Json object = {{"identifier", ebr.identifier},
                 {"bit", ebr.command.opcodeIndex},
                 {"frames", ebr.command.frameCount},
                 {"bytes", ebr.command.contentsBytes()},
                 {"used", ebr.used},
                 {"ninthBits", ebr.facts.ninthBits},
                 {"crc", nameOf(crc.verdict)},
                 {"storedCrc", toHex16(crc.stored)},
                 {"computedCrc", toHex16(crc.computed)},
                 {"hidden", ebr.hiding.has_value()}};
  // GCOVR_EXCL_STOP
  mapped.addTo(object, mapped.find(ebr.identifier));
  return object;
}

Json toJson(const OtherSection& other) {
  return {{"identifier", other.identifier},
          {"bit", other.command.opcodeIndex},
          {"reason", reasonOf(other)}};
}
