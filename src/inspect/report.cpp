// `report`: one page that shows a bitstream to whoever opens it in a browser.
#include <CLI/CLI.hpp>
#include <algorithm>

#include "companion/base64.h"
#include "companion/output.h"
#include "ebr/payload.h"
#include "inspect/listed.h"
#include "inspect/mapped.h"
#include "inspect/reportpage.h"
#include "inspect/sections.h"
#include "inspect/subcommands.h"
#include "layout/number.h"
#include "survey/differences.h"

namespace {

// What is shown: a stream, and another one of the same size if there is one to compare it with.
struct Shown {
  const SectionTable& table;
  const MappedStream& mapped;
  const Bitstream* changed = nullptr;
  Differences differences{};  // none without `changed`
};

// A name as the page has it. So long a one would leave no room for anything else.
std::string shortened(const std::string& name) {
  constexpr std::size_t MOST_BYTES = 255;
  return name.size() <= MOST_BYTES ? name : "..." + name.substr(name.size() - MOST_BYTES);
}

// Puts contents into an element: the old ones, and the new ones if they differ. The number of their
// bytes.
std::uint64_t addContents(Json& element, const std::vector<unsigned char>& old,
                          const std::vector<unsigned char>& changed) {
  element["old"] = toBase64(old);
  if (changed == old) return old.size();
  element["new"] = toBase64(changed);
  return old.size() + changed.size();
}

// The bytes of an image that aren't those of a word that no content has.
std::uint64_t countUsed(const Memory& memory, const std::vector<unsigned char>& image) {
  const std::vector<unsigned char> fill = memory.fillWord();
  std::uint64_t used = 0;
  for (std::size_t i = 0; i < image.size(); ++i) used += image[i] != fill[i % fill.size()] ? 1 : 0;
  return used;
}

// Adds a memory. False if there is no room for it.
bool addMemory(const Shown& shown, const Memory& memory, ReportPage& page) {
  const Placement& placement = shown.mapped.placement;
  const auto image = readImage(shown.table.getBitstream(), memory, placement);
  Json element = {{"name", memory.name},         {"bases", Json::array()},
                  {"wordBits", memory.wordBits}, {"order", nullptr},
                  {"parts", Json::array()},      {"used", countUsed(memory, image)}};
  for (const std::uint64_t base : memory.bases) element["bases"].push_back(spellHex(base, 8));
  if (memory.order) element["order"] = memory.order == std::endian::little ? "little" : "big";
  for (const Part& part : memory.parts) element["parts"].push_back(part.firstWord);
  const std::uint64_t contentsBytes = addContents(
      element, image, shown.changed ? readImage(*shown.changed, memory, placement) : image);
  return page.add(ReportPage::MEMORIES, element, contentsBytes);
}

// Adds an EBR, with its contents if no memory of the page has them.
void addEbr(const Shown& shown, const ListedEbr& ebr, bool isInMemory, ReportPage& page) {
  Json element = toJson(ebr, shown.mapped);
  element["end"] = ebr.command.crcIndex() + CRC_BITS;
  const std::vector<ChangedEbr>& changes = shown.differences.changed;
  const auto change =
      std::ranges::lower_bound(changes, ebr.command.opcodeIndex, {},
                               [](const ChangedEbr& each) { return each.command.opcodeIndex; });
  if (change != changes.end() && change->command.opcodeIndex == ebr.command.opcodeIndex) {
    element["differs"] = {{"payloadBits", change->payloadBits}, {"crc", change->isCrcChanged}};
  }
  std::uint64_t contentsBytes = 0;
  if (!isInMemory) {
    std::vector<unsigned char> contents = ebr.contents;
    if (shown.changed) readPayload(*shown.changed, ebr.command.payloadIndex, contents);
    contentsBytes = addContents(element, ebr.contents, contents);
  }
  page.add(ReportPage::SECTIONS, element, contentsBytes);
}

std::string makePage(const Shown& shown, const Json& facts) {
  ReportPage page(facts);
  std::vector<bool> hasMemory;  // the page
  for (const Memory& memory : shown.mapped.map.memories) {
    hasMemory.push_back(addMemory(shown, memory, page));
  }
  forEachEbr(shown.table, [&](const ListedEbr& ebr) {
    const MapEbr* const place = shown.mapped.find(ebr.identifier);
    addEbr(shown, ebr, place != nullptr && hasMemory[place->memory], page);
  });
  forEachOther(shown.table,
               [&](const OtherSection& other) { page.add(ReportPage::OTHERS, toJson(other)); });
  return page.finish();
}

struct Report {
  std::string bitFile, newFile;
  std::optional<std::string> mapFile, outputFile;
  std::uint64_t identifierBits = 0;
  Detail detail = Detail::USUAL;
  bool takesAnyDesign = false;

  void addTo(CLI::App& app) {
    addIdentifierBits(app, identifierBits, detail);
    addMap(app, mapFile, takesAnyDesign);
    addOutput(app, "FILE.html", outputFile);
    addFile(app, "FILE.bit", "The bitstream", bitFile);
    CLI::Option& other = *app.add_option("NEW.bit", newFile, "Another one to compare it with");
    takeStandardInput(app, *other.type_name(""));
  }

  ExitStatus run() const {
    const Messages messages(false, detail);
    OpenStream old, changed;
    const bool isOpen = newFile.empty() ? openStream(bitFile, old, messages)
                                        : openStreams(bitFile, old, newFile, changed, messages);
    MappedStream mapped;
    if (!isOpen || (mapFile && !openMap(*mapFile, old, takesAnyDesign, mapped, messages))) {
      return ExitStatus::FAILED;
    }
    if (mapFile && !newFile.empty() && !takesAnyDesign) {
      const std::string fault = refuseDesign(mapped.map, newFile, changed.bitstream);
      if (!fault.empty()) return messages.refuse(fault);
    }
    const std::optional<SectionTable> table =
        findSections(old, mapFile ? mapped.map.identifierBits : identifierBits, messages);
    if (!table) return ExitStatus::FAILED;
    Shown shown = {*table, mapped};
    // GCOVR_EXCL_START: of one statement, gcov takes some lines for untouched.
    Json facts = {{"file", shortened(bitFile)},
                  {"bytes", old.bitstream.getNumBytes()},
                  {"identifierBits", table->getIdentifierBits()},
                  {"design", fingerprintOf(*table)}};
    // GCOVR_EXCL_STOP
    if (mapFile) facts["map"] = shortened(*mapFile);
    if (!newFile.empty()) compare(changed, shown, facts);
    return putResult(outputFile, makePage(shown, facts), inputs(mapped), messages);
  }

  // Streams of different sizes can't be compared: the page says that alone.
  void compare(const OpenStream& changed, Shown& shown, Json& facts) const {
    facts["newFile"] = shortened(newFile);
    facts["newBytes"] = changed.bitstream.getNumBytes();
    if (changed.bitstream.getNumBytes() != shown.table.getBitstream().getNumBytes()) return;
    shown.changed = &changed.bitstream;
    shown.differences = compareStreams(shown.table, changed.bitstream);
    facts["numChanged"] = shown.differences.changed.size();
    facts["outside"] = {{"count", shown.differences.outside.count},
                        {"first", shown.differences.outside.first}};
  }

  std::vector<std::string> inputs(const MappedStream& mapped) const {
    std::vector<std::string> names = {bitFile};
    if (!newFile.empty()) names.push_back(newFile);
    for (const MapInput& input : mapped.map.inputs) names.push_back(input.name);
    return names;
  }
};

}  // namespace

const Program REPORT = {"report", "Make a page that shows a bitstream in a browser",
                        prepare<Report>};
