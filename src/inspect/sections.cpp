#include "inspect/sections.h"

#include <CLI/CLI.hpp>

#include "ebr/chain.h"
#include "ebr/width.h"
#include "reports/ebrs.h"
#include "reports/position.h"
#include "reports/text.h"

namespace {

constexpr std::uint64_t MOST_IDENTIFIER_BITS = 64;

// The user should know of a guess that may be wrong.
void note(const std::string& position, const WidthFinding& found, const Messages& messages) {
  std::string sentence = position + "taking identifiers of " +
                         countOf(found.identifierBits, "bit") + ", which give the most EBRs (" +
                         std::to_string(found.numEbrs);
  if (found.otherEbrs != 0) {
    sentence += "; " + countOf(found.otherBits, "bit") +
                (found.otherBits == 1 ? " gives " : " give ") + std::to_string(found.otherEbrs);
  }
  sentence += "); --id-bits N says otherwise";
  found.otherEbrs * 2 >= found.numEbrs ? messages.note(sentence) : messages.remark(sentence);
}

}  // namespace

void addIdentifierBits(CLI::App& app, std::uint64_t& identifierBits, Detail& detail) {
  addNumber(app, "--id-bits", "Bits of an identifier (1 to 64); otherwise they are found",
            MOST_IDENTIFIER_BITS, identifierBits);
  app.add_flag_callback(
         // gcov takes this line for untouched, of one statement.
         "--verbose", [&detail] { detail = Detail::VERBOSE; },  // GCOVR_EXCL_LINE
         "Say which width of identifiers was found")
      ->disable_flag_override();
}

std::optional<SectionTable> findSections(const OpenStream& stream, std::uint64_t identifierBits,
                                         const Messages& messages, bool isNoneFine) {
  const std::vector<std::uint64_t> allSections = findAllSections(stream.bitstream);
  if (identifierBits == 0) {
    const WidthFinding found = findIdentifierBits(stream.bitstream, allSections);
    if (found.numEbrs == 0 && isNoneFine) return SectionTable(stream.bitstream, {}, 0);
    if (found.numEbrs == 0) {
      messages.refuse(positionText(stream.name) +
                      "no EBR contents found, whatever the width of the identifiers");
      return std::nullopt;
    }
    identifierBits = found.identifierBits;
    note(positionText(stream.name), found, messages);
  }
  return SectionTable(stream.bitstream, allSections, identifierBits);
}

void warnOfHidden(const SectionTable& table, const EbrCommand& ebr, Messages& messages) {
  const std::optional<Hiding> hiding = table.findHiding(ebr.opcodeIndex);
  if (!hiding) return;
  const HiddenCommand hidden = {table.getIdentifier(ebr), ebr.opcodeIndex, *hiding};
  messages.warn(textOf(hidden, table.getBitstream(), false));
}

void warnOfHidden(const Bitstream& bitstream, const std::vector<Lookup>& walked,
                  Messages& messages) {
  const SectionTable table(bitstream, findAllSections(bitstream), walked.front().wid.size());
  for (const Lookup& lookup : walked) {
    if (lookup.isUsable()) warnOfHidden(table, lookup.command, messages);
  }
}
