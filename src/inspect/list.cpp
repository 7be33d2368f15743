// `list`: the EBRs that a bitstream contains.
#include <algorithm>
#include <array>

#include "companion/json.h"
#include "inspect/listed.h"
#include "inspect/mapped.h"
#include "inspect/sections.h"
#include "inspect/subcommands.h"
#include "reports/ebrs.h"
#include "reports/text.h"

namespace {

using std::to_string;

// What is listed.
struct Listing {
  const SectionTable& table;
  const MappedStream& mapped;
};

// ---- As text ----

// Bit 8k + b is bit b of byte k.
std::string byteAndBit(std::uint64_t bitIndex) {
  return to_string(bitIndex / 8) + "." + to_string(bitIndex % 8);
}

// How wide the columns are. Both tables begin with the same three.
class TableLayout {
 public:
  explicit TableLayout(const SectionTable& table)
      : widths{std::max<std::size_t>(table.getIdentifierBits(), 10), 0, 0, 7, 7, 7} {
    widths[1] = std::max<std::size_t>(to_string(table.getBitstream().getNumBits()).size(), 8);
    widths[2] = widths[1] + 1;
  }

  // A line: the first cell aligned to the left, the last one not at all, the others to the right.
  std::string line(std::string text, std::initializer_list<std::string> cells,
                   std::string_view last) const {
    std::size_t column = 0;
    text.resize(std::max(widths[column], text.size()), ' ');
    for (const std::string& cell : cells) {
      const std::size_t width = std::max(widths[++column], cell.size());
      text.append(2 + width - cell.size(), ' ').append(cell);
    }
    return text.append("  ").append(last).append("\n");
  }

 private:
  std::array<std::size_t, 6> widths;
};

// What the last line says.
struct Totals {
  std::uint64_t ebrs = 0, frames = 0, bytes = 0, used = 0, hidden = 0;
  std::array<std::uint64_t, 4> verdicts{};  // for each CrcCheck::Verdict

  void add(const ListedEbr& ebr) {
    ++ebrs;
    frames += ebr.command.frameCount;
    bytes += ebr.command.contentsBytes();
    used += ebr.used;
    hidden += ebr.hiding ? 1 : 0;
    ++verdicts[static_cast<std::size_t>(ebr.facts.crc.verdict)];
  }

  // How many CRCs are right and so on, and how many sections are hidden.
  std::string summary() const {
    std::string text;
    for (std::size_t i = 0; i < verdicts.size(); ++i) {
      if (verdicts[i] == 0) continue;
      const auto name = nameOf(static_cast<CrcCheck::Verdict>(i));
      text.append(text.empty() ? "" : ", ").append(to_string(verdicts[i]) + " ").append(name);
    }
    if (hidden != 0) text += ", " + to_string(hidden) + " hidden";
    return text;
  }
};

std::string remarksOn(const ListedEbr& ebr) {
  std::string text(nameOf(ebr.facts.crc.verdict));
  if (ebr.hiding) text += ", hidden by bit " + to_string(ebr.hiding->section);
  if (ebr.facts.ninthBits != 0) text += ", " + countOf(ebr.facts.ninthBits, "ninth bit") + " set";
  return text;
}

// With a map, what it has to say comes first among the remarks.
void printEbrs(const Listing& listing, const TableLayout& layout, StandardOutput& output) {
  output.write(layout.line("identifier", {"bit", "byte.bit", "frames", "bytes", "used"},
                           !listing.mapped.ebrs ? "CRC" : "memory, CRC"));
  Totals totals;
  const auto print = [&](const ListedEbr& ebr) {
    totals.add(ebr);
    const EbrCommand& command = ebr.command;
    const std::string memory = listing.mapped.nameOf(listing.mapped.find(ebr.identifier));
    output.write(layout.line(
        ebr.identifier,
        {to_string(command.opcodeIndex), byteAndBit(command.opcodeIndex),
         to_string(command.frameCount), to_string(command.contentsBytes()), to_string(ebr.used)},
        memory + (memory.empty() ? "" : ", ") + remarksOn(ebr)));
  };
  forEachEbr(listing.table, print);
  output.write(layout.line(
      countOf(totals.ebrs, "EBR"),
      {"", "", to_string(totals.frames), to_string(totals.bytes), to_string(totals.used)},
      totals.summary()));
  output.write("design " + fingerprintOf(listing.table) + "\n");
}

void printOthers(const SectionTable& table, const TableLayout& layout, StandardOutput& output) {
  bool isFirst = true;
  forEachOther(table, [&](const OtherSection& other) {
    if (isFirst) {
      output.write("\nCommands without contents, and what ramgraft takes for a command:\n");
      output.write(layout.line("identifier", {"bit", "byte.bit"}, "reason"));
    }
    isFirst = false;
    const std::uint64_t bit = other.command.opcodeIndex;
    output.write(layout.line(other.identifier, {to_string(bit), byteAndBit(bit)}, reasonOf(other)));
  });
}

void printText(const Listing& listing, StandardOutput& output) {
  const TableLayout layout(listing.table);
  printEbrs(listing, layout, output);
  printOthers(listing.table, layout, output);
}

// ---- As JSON ----

void printJson(const Listing& listing, const std::string& fileName, const Messages& messages,
               StandardOutput& output) {
  const SectionTable& table = listing.table;
  JsonObject object(output);
  object.add("file", fileName);
  object.add("bytes", table.getBitstream().getNumBytes());
  object.add("identifierBits", table.getIdentifierBits());
  object.add("design", fingerprintOf(table));
  object.beginList("sections");
  forEachEbr(table, [&](const ListedEbr& ebr) { object.addElement(toJson(ebr, listing.mapped)); });
  object.endList();
  object.beginList("others");
  forEachOther(table, [&](const OtherSection& other) { object.addElement(toJson(other)); });
  object.endList();
  object.end(messages.getWarnings());
}

struct List {
  std::string bitFile;
  std::optional<std::string> mapFile;
  std::uint64_t identifierBits = 0;
  Detail detail = Detail::USUAL;
  bool isJson = false;
  bool takesAnyDesign = false;

  void addTo(CLI::App& app) {
    addIdentifierBits(app, identifierBits, detail);
    addMap(app, mapFile, takesAnyDesign);
    addJson(app, isJson);
    addFile(app, "FILE.bit", "The bitstream", bitFile);
  }

  ExitStatus run() const {
    Messages messages(isJson, detail);
    OpenStream stream;
    if (!openStream(bitFile, stream, messages)) return ExitStatus::FAILED;
    MappedStream mapped;
    if (mapFile && !openMap(*mapFile, stream, takesAnyDesign, mapped, messages)) {
      return ExitStatus::FAILED;
    }
    const std::optional<SectionTable> table =
        findSections(stream, mapFile ? mapped.map.identifierBits : identifierBits, messages);
    if (!table) return ExitStatus::FAILED;
    const Listing listing = {*table, mapped};
    StandardOutput output;
    isJson ? printJson(listing, bitFile, messages, output) : printText(listing, output);
    return output.finish(ExitStatus::FINE);
  }
};

}  // namespace

const Program LIST = {"list", "Show the EBRs that a bitstream contains", prepare<List>};
