// `diff`: in which EBRs two bitstreams differ.
#include <cstring>

#include "companion/json.h"
#include "inspect/mapped.h"
#include "inspect/sections.h"
#include "inspect/subcommands.h"
#include "layout/spelling.h"
#include "reports/text.h"
#include "survey/differences.h"

namespace {

using std::to_string;

// Two streams of the same size, and the map if there is one, which fits the old one.
struct Streams {
  const SectionTable& old;
  const Bitstream& changed;
  const MappedStream& mapped;

  // Calls `show` with the number of each word of the memory that differs, and both words.
  template <typename Show>
  void forEachDifferentWord(const Memory& memory, const Show& show) const {
    const auto expected = readImage(old.getBitstream(), memory, mapped.placement);
    const auto found = readImage(changed, memory, mapped.placement);
    const std::uint64_t bytes = memory.wordBytes();
    for (std::uint64_t word = 0; word < memory.words; ++word) {
      if (std::memcmp(&expected[word * bytes], &found[word * bytes], bytes) == 0) continue;
      show(word, spellWord(memory, expected, word), spellWord(memory, found, word));
    }
  }
};

void printWords(const Streams& streams, const Memory& memory, StandardOutput& output) {
  constexpr std::uint64_t MOST_SHOWN = 10;
  std::uint64_t different = 0;
  streams.forEachDifferentWord(
      memory, [&](std::uint64_t word, const std::string& expected, const std::string& found) {
        if (++different > MOST_SHOWN) return;
        output.write(memory.name + " word " + to_string(word) + ": expected " + expected +
                     ", found " + found + "\n");
      });
  if (different <= MOST_SHOWN) return;
  output.write("... and " + to_string(different - MOST_SHOWN) + " more in " + memory.name + "\n");
}

void printText(const Streams& streams, const Differences& differences, StandardOutput& output) {
  for (const ChangedEbr& ebr : differences.changed) {
    const std::string identifier = streams.old.getIdentifier(ebr.command);
    const std::string memory = streams.mapped.nameOf(streams.mapped.find(identifier));
    std::string line = "EBR " + identifier + " at bit " + to_string(ebr.command.opcodeIndex);
    if (!memory.empty()) line += " (" + memory + ")";
    line += ": " + countOf(ebr.payloadBits, "payload bit");
    line += ebr.isCrcChanged ? " and the CRC differ\n"
                             : std::string(differFor(ebr.payloadBits)) + ", the CRC doesn't\n";
    output.write(line);
  }
  for (const Memory& memory : streams.mapped.map.memories) printWords(streams, memory, output);
  output.write(to_string(differences.changed.size()) + " of " +
               countOf(differences.numEbrs, "EBR").append(differFor(differences.changed.size())) +
               "; outside of them ");
  const BitDifferences& outside = differences.outside;
  output.write(outside.count == 0 ? "nothing does\n"
                                  : countOf(outside.count, "bit") + ", the first at bit " +
                                        to_string(outside.first) + "\n");
}

void addWords(const Streams& streams, JsonObject& object) {
  object.beginList("words");
  for (const Memory& memory : streams.mapped.map.memories) {
    streams.forEachDifferentWord(
        memory, [&](std::uint64_t word, const std::string& expected, const std::string& found) {
          object.addElement(
              {{"memory", memory.name}, {"word", word}, {"expected", expected}, {"found", found}});
        });
  }
  object.endList();
}

void addDifferences(const Streams& streams, const Differences& differences, JsonObject& object) {
  const std::uint64_t identifierBits = streams.old.getIdentifierBits();
  object.add("identifierBits", identifierBits == 0 ? Json() : Json(identifierBits));
  object.add("same", differences.isNone());
  object.beginList("sections");
  for (const ChangedEbr& ebr : differences.changed) {
    const std::string identifier = streams.old.getIdentifier(ebr.command);
    Json element = {{"identifier", identifier},
                    {"bit", ebr.command.opcodeIndex},
                    {"payloadBits", ebr.payloadBits},
                    {"crc", ebr.isCrcChanged}};
    streams.mapped.addTo(element, streams.mapped.find(identifier));
    object.addElement(element);
  }
  object.endList();
  if (streams.mapped.ebrs) addWords(streams, object);
  object.add("outsideBits", differences.outside.count);
  if (differences.outside.count != 0) object.add("firstOutsideBit", differences.outside.first);
}

struct Diff {
  std::string oldFile, newFile;
  std::optional<std::string> mapFile;
  std::uint64_t identifierBits = 0;
  Detail detail = Detail::USUAL;
  bool isJson = false;
  bool takesAnyDesign = false;

  void addTo(CLI::App& app) {
    addIdentifierBits(app, identifierBits, detail);
    addMap(app, mapFile, takesAnyDesign);
    addJson(app, isJson);
    addFile(app, "OLD.bit", "A bitstream", oldFile);
    addFile(app, "NEW.bit", "Another one", newFile);
  }

  JsonObject beginObject(StandardOutput& output) const {
    JsonObject object(output);
    object.add("old", oldFile);
    object.add("new", newFile);
    return object;
  }

  void printSizes(std::uint64_t oldBytes, std::uint64_t newBytes, const Messages& messages,
                  StandardOutput& output) const {
    if (!isJson) {
      output.write("the sizes differ: " + to_string(oldBytes) + " and " +
                   countOf(newBytes, "byte") + "\n");
      return;
    }
    JsonObject object = beginObject(output);
    object.add("same", false);
    object.add("sizes", {oldBytes, newBytes});
    object.end(messages.getWarnings());
  }

  ExitStatus run() const {
    Messages messages(isJson, detail);
    OpenStream old, changed;
    if (!openStreams(oldFile, old, newFile, changed, messages)) return ExitStatus::FAILED;
    const std::uint64_t oldBytes = old.bitstream.getNumBytes();
    const std::uint64_t newBytes = changed.bitstream.getNumBytes();
    StandardOutput output;
    if (oldBytes != newBytes) {
      printSizes(oldBytes, newBytes, messages, output);
      return output.finish(ExitStatus::NO);
    }
    MappedStream mapped;
    if (mapFile && !openMap(*mapFile, old, takesAnyDesign, mapped, messages)) {
      return ExitStatus::FAILED;
    }
    if (mapFile && !takesAnyDesign) {
      const std::string fault = refuseDesign(mapped.map, newFile, changed.bitstream);
      if (!fault.empty()) return messages.refuse(fault);
    }
    const SectionTable table =
        *findSections(old, mapFile ? mapped.map.identifierBits : identifierBits, messages, true);
    const Differences differences = compareStreams(table, changed.bitstream);
    const Streams streams = {table, changed.bitstream, mapped};
    if (isJson) {
      JsonObject object = beginObject(output);
      addDifferences(streams, differences, object);
      object.end(messages.getWarnings());
    } else {
      printText(streams, differences, output);
    }
    return output.finish(differences.isNone() ? ExitStatus::FINE : ExitStatus::NO);
  }
};

}  // namespace

const Program DIFF = {"diff", "Show in which EBRs two bitstreams differ", prepare<Diff>};
