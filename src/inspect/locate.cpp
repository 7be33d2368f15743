// `locate`: the width files of memories whose contents are known, and the map of a design.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <climits>
#include <filesystem>
#include <map>

#include "companion/json.h"
#include "companion/output.h"
#include "console/lines.h"
#include "inputs/widthfile.h"
#include "inspect/known.h"
#include "inspect/listed.h"
#include "inspect/sections.h"
#include "inspect/subcommands.h"
#include "inspect/unlocated.h"
#include "layout/mapfile.h"
#include "layout/mapspelling.h"
#include "layout/maptext.h"
#include "layout/number.h"
#include "reports/position.h"
#include "reports/text.h"

namespace {

using std::to_string;

// A memory that is to be located.
struct Wanted {
  std::string name;  // in the map; empty without one
  std::string file;  // with its contents
  KnownWords known;
  std::vector<Fit> parts;             // once it was located
  std::string reason;                 // why it wasn't
  std::vector<std::string> widFiles;  // of each part, as they are opened

  std::string label() const { return name.empty() ? file : name + " (" + file + ")"; }
};

using Memories = std::vector<Wanted>;

constexpr const char* STANDARD_INPUT = "/dev/stdin";

// ---- Searching ----

class Locator {
 public:
  explicit Locator(const SectionTable& sections) : table(sections), ebrs(sections.findEbrs()) {}

  const SectionTable& getTable() const { return table; }

  std::string identifierOf(std::size_t ebr) const { return table.getIdentifier(ebrs[ebr]); }

  // In width-file order.
  std::vector<std::string> identifiersOf(const Fit& part) const {
    std::vector<std::string> identifiers;
    for (const std::size_t ebr : part.getEbrs()) identifiers.push_back(identifierOf(ebr));
    return identifiers;
  }

  // Sets the parts of all memories, or the reasons why some have none.
  void locate(Memories& memories, Messages& messages) const {
    std::map<std::size_t, const Wanted*> owners;
    for (Wanted& memory : memories) {
      FitSearch search(table.getBitstream(), ebrs);
      Location location = search.locate(memory.known);
      if (location.outcome != Location::Outcome::FOUND) {
        const auto identifiers = [this](std::size_t ebr) { return identifierOf(ebr); };
        memory.reason = reasonOf(location, search, memory.known, identifiers);
        continue;
      }
      memory.parts = std::move(location.parts);
      for (const Fit& part : memory.parts) {
        if (search.isTooShort(part.columnBits())) warnOfChance(memory, part, messages);
        for (const std::size_t ebr : part.getEbrs()) claim(ebr, memory, owners);
      }
    }
  }

  void warnOfHiddenEbrs(const Memories& memories, Messages& messages) const {
    for (const Wanted& memory : memories) {
      for (const Fit& part : memory.parts) {
        for (const std::size_t ebr : part.getEbrs()) {
          warnOfHidden(table, ebrs[ebr], messages);
        }
      }
    }
  }

 private:
  // Notes to which memory an EBR belongs.
  void claim(std::size_t ebr, Wanted& memory, std::map<std::size_t, const Wanted*>& owners) const {
    const auto [owner, isNew] = owners.emplace(ebr, &memory);
    if (isNew || !memory.reason.empty()) return;
    memory.reason =
        "EBR " + identifierOf(ebr) + " is found for " + owner->second->label() + ", too";
  }

  void warnOfChance(const Wanted& memory, const Fit& part, Messages& messages) const {
    messages.warn(memory.label() + ": EBRs are told apart by " + countOf(part.columnBits(), "bit") +
                  " of contents, which can be chance among " + countOf(ebrs.size(), "EBR"));
  }

  const SectionTable& table;
  std::vector<EbrCommand> ebrs;
};

// ---- Results ----

// The smallest address that reaches so many words.
int addressWidthFor(std::uint64_t numWords) {
  int width = 1;
  while (width < 63 && UINT64_C(1) << width < numWords) ++width;
  return width;
}

std::string spellWid(const Locator& locator, const Wanted& memory, const Fit& part) {
  return spellWidthFile(locator.identifiersOf(part),
                        {addressWidthFor(part.numWords), static_cast<int>(memory.known.wordBits)});
}

// The names of the width files of a memory: "rom.wid", or "rom-0.wid", "rom-1.wid" and so on.
std::vector<std::string> nameParts(const std::filesystem::path& name, std::size_t numParts) {
  if (numParts == 1) return {name};
  std::vector<std::string> names;
  for (std::size_t part = 0; part < numParts; ++part) {
    std::filesystem::path numbered = name;
    numbered.replace_filename(name.stem().string() + "-" + to_string(part) +
                              name.extension().string());
    names.push_back(numbered);
  }
  return names;
}

// "rom: 4096 words of 32 bits, in 2 parts: rom-0.wid (4 EBRs hold ...), rom-1.wid (...)".
std::string summaryOf(const Wanted& memory) {
  std::string text = memory.name + ": " + countOf(memory.known.numWords, "word") + " of " +
                     countOf(memory.known.wordBits, "bit");
  for (std::size_t part = 0; part < memory.parts.size(); ++part) {
    const Fit& fit = memory.parts[part];
    text += (part == 0 ? ": " : ", ") + memory.widFiles[part] + " (";
    if (memory.parts.size() > 1) text += countOf(fit.numWords, "word") + "; ";
    text += describe(fit.split) + ")";
  }
  return withoutControls(text) + "\n";
}

Json partToJson(const Locator& locator, const Wanted& memory, std::size_t part) {
  const Fit& fit = memory.parts[part];
  Json json = {{"words", fit.numWords}, {"bitsPerEbr", fit.split.bitsPerEbr}};
  if (!memory.widFiles.empty()) json["output"] = memory.widFiles[part];
  json["identifiers"] = locator.identifiersOf(fit);
  return json;
}

Json toJson(const Locator& locator, const Wanted& memory) {
  Json json = {{"file", memory.file},
               {"words", memory.known.numWords},
               {"wordBits", memory.known.wordBits},
               {"located", memory.reason.empty()}};
  if (!memory.name.empty()) json["memory"] = memory.name;
  if (!memory.reason.empty()) {
    json["reason"] = memory.reason;
    return json;
  }
  json["parts"] = Json::array();
  for (std::size_t part = 0; part < memory.parts.size(); ++part) {
    json["parts"].push_back(partToJson(locator, memory, part));
  }
  return json;
}

// ---- The map ----

// "64 words of 16 bits (32 + 32)".
std::string spellShape(const Wanted& memory) {
  std::string parts;
  for (const Fit& part : memory.parts) {
    parts += (parts.empty() ? "" : " + ") + to_string(part.numWords);
  }
  return countOf(memory.known.numWords, "word") + " of " + countOf(memory.known.wordBits, "bit") +
         " (" + parts + ")";
}

std::string spellShape(const Memory& memory) {
  std::string parts;
  for (const Part& part : memory.parts) {
    parts += (parts.empty() ? "" : " + ") + to_string(part.words);
    if (part.lanes.size() > 1) parts += " in " + to_string(part.lanes.size()) + " lanes";
  }
  return countOf(memory.words, "word") + " of " + countOf(memory.wordBits, "bit") + " (" + parts +
         ")";
}

// Fits the located memories to the map: sets the names of their width files. Returns the sentence
// that says why that can't be done, empty if it was done.
std::string fitToMap(const Map& map, Memories& located) {
  for (const Wanted& each : located) {
    if (std::ranges::find(map.memories, each.name, &Memory::name) == map.memories.end()) {
      return positionText(map.file) + "no memory is named " + each.name;
    }
  }
  for (const Memory& memory : map.memories) {
    const auto found = std::ranges::find(located, memory.name, &Wanted::name);
    if (found == located.end()) {
      return positionText(map.file, memory.line) + memory.name + " is to be located, too: give " +
             memory.name + "=FILE";
    }
    if (spellShape(memory) != spellShape(*found)) {
      return positionText(map.file, memory.line) + memory.name + " has " + spellShape(memory) +
             ", located are " + spellShape(*found);
    }
    for (const Part& part : memory.parts) found->widFiles.push_back(part.lanes.front().widFile);
  }
  return "";
}

std::string spellNewMap(const std::string& design, const Memories& memories) {
  std::vector<NewMemory> described;
  for (const Wanted& memory : memories) {
    NewMemory& each = described.emplace_back();
    each.name = memory.name;
    each.wordBits = memory.known.wordBits;
    for (const Fit& part : memory.parts) each.words.push_back(part.numWords);
    for (const std::string& file : memory.widFiles) {
      each.widFiles.push_back(std::filesystem::path(file).filename());
    }
  }
  return spellMap(design, described);
}

// ---- The command line ----

struct Locate {
  std::string bitFile;
  std::vector<std::string> arguments;  // FILE.mem or NAME=FILE
  std::optional<std::string> mapFile, outputFile;
  std::vector<std::string> dataWidths;  // N or NAME=N
  std::uint64_t identifierBits = 0;
  Detail detail = Detail::USUAL;
  bool isUpdate = false;
  bool isJson = false;

  void addTo(CLI::App& app) {
    addIdentifierBits(app, identifierBits, detail);
    app.add_option("--data-width", dataWidths, "Bits of a word, of memory NAME with --map")
        ->type_name("[NAME=]N")
        ->type_size(1)
        ->allow_extra_args(false);
    addOutput(app, "FILE.wid", outputFile);
    app.add_option("--map", mapFile, "Locate several memories: write this map and their .wid files")
        ->type_name("MAP.toml")
        ->take_last()
        ->excludes("-o");
    app.add_flag("--update", isUpdate, "Only the design of the map and the .wid files change")
        ->disable_flag_override()
        ->needs("--map");
    addJson(app, isJson);
    addFile(app, "FILE.bit", "The bitstream", bitFile);
    app.add_option("CONTENTS", arguments, "FILE.mem, with --map NAME=FILE: different everywhere")
        ->required()
        ->type_name("");
  }

  // True if a width file goes to a file of its own.
  bool hasFile() const { return outputFile && *outputFile != "-"; }

  // Takes the --data-width of each memory apart, "" without --map; of several the last one counts.
  // Returns why that isn't possible.
  std::string readWidths(std::map<std::string, std::uint64_t>& widths) const {
    for (const std::string& given : dataWidths) {
      const std::size_t equals = given.find('=');
      const bool isNamed = equals != std::string::npos;
      const auto number = parseNumber(given.substr(isNamed ? equals + 1 : 0));
      if (isNamed != mapFile.has_value() || !number || *number == 0 || *number > INT_MAX) {
        return "--data-width " + given + ": no " + (mapFile ? "NAME=N" : "N") +
               " with a number from 1 to " + to_string(INT_MAX);
      }
      widths[isNamed ? given.substr(0, equals) : ""] = *number;
    }
    return "";
  }

  // Takes an argument apart. Returns why that isn't possible.
  std::string nameMemory(const std::string& argument, const Memories& others,
                         Wanted& memory) const {
    const std::size_t equals = mapFile ? argument.find('=') : std::string::npos;
    if (mapFile && equals == std::string::npos) {
      return argument + ": with --map write NAME=" + argument;
    }
    memory.name = mapFile ? argument.substr(0, equals) : "";
    if (mapFile && !isMemoryName(memory.name)) {
      return argument + ": no name before the =: letters, digits, _ . -, first a letter or _";
    }
    if (std::ranges::find(others, memory.name, &Wanted::name) != others.end()) {
      return argument + ": " + memory.name + " comes twice";
    }
    memory.file = argument.substr(mapFile ? equals + 1 : 0);
    if (memory.file != "-") return "";
    memory.file = STANDARD_INPUT;
    const bool isAgain = bitFile == STANDARD_INPUT || mapFile == STANDARD_INPUT ||
                         std::ranges::find(others, memory.file, &Wanted::file) != others.end();
    return isAgain ? "standard input (-) can't be read twice" : "";
  }

  // Names the memories and their files. Returns what is wrong with the command line.
  std::string readArguments(Memories& memories) const {
    if (!mapFile && arguments.size() > 1) return "several memories need --map";
    std::map<std::string, std::uint64_t> widths;
    std::string fault = readWidths(widths);
    for (const std::string& argument : arguments) {
      Wanted memory;
      if (fault.empty()) fault = nameMemory(argument, memories, memory);
      if (const auto width = widths.extract(memory.name)) memory.known.wordBits = width.mapped();
      memories.push_back(std::move(memory));
    }
    if (!fault.empty() || widths.empty()) return fault;
    return "--data-width " + widths.begin()->first + "=...: no such memory is to be located";
  }

  // False if one can't be read, which is reported.
  bool readContents(Memories& memories, const Messages& messages) const {
    const auto read = mapFile ? readKnownText : readKnownLines;
    return std::ranges::all_of(memories, [&](Wanted& memory) {
      return read(memory.file, memory.known.wordBits, memory.known, messages);
    });
  }

  // Reads the map that is to be updated; a new one must not be there.
  std::string openMap(Map& map, ByteBuffer& text) const {
    if (!mapFile) return "";
    if (isUpdate) {
      FileIdentity identity;
      std::string fault = readMap(*mapFile, map);
      return fault.empty() ? readMapText(*mapFile, text, identity) : fault;
    }
    std::error_code error;
    const bool isThere = std::filesystem::symlink_status(*mapFile, error).type() !=
                         std::filesystem::file_type::not_found;
    return isThere ? *mapFile + " is there already; --update changes its design and the .wid files"
                   : "";
  }

  std::string nameOutputs(const Map& map, Memories& memories) const {
    if (isUpdate) return fitToMap(map, memories);
    for (Wanted& memory : memories) {
      const std::size_t numParts = memory.parts.size();
      if (mapFile) {
        std::filesystem::path name = *mapFile;
        memory.widFiles = nameParts(name.replace_filename(memory.name + ".wid"), numParts);
      } else if (hasFile()) {
        memory.widFiles = nameParts(*outputFile, numParts);
      } else if (numParts > 1 && !isJson) {
        return memory.label() + " has " + to_string(numParts) +
               " parts, each of which needs a file: give -o FILE.wid";
      }
    }
    return "";
  }

  // Why the outputs can't be written; empty if they can.
  std::string refuseOutputs(const std::vector<FileText>& outputs, const Memories& memories) const {
    std::vector<ReadFile> inputs = {{bitFile, identityOf(bitFile)}};
    for (const Wanted& memory : memories) inputs.push_back({memory.file, identityOf(memory.file)});
    std::map<std::string, int> counts;
    for (const FileText& output : outputs) {
      std::string fault = refuseInput(output.fileName, inputs);
      if (!fault.empty()) return fault;
      if (++counts[output.fileName] > 1) return "two outputs would be the file " + output.fileName;
    }
    return "";
  }

  // Writes all files. A single one needn't be a regular file.
  std::string write(const Locator& locator, const Map& map, const ByteBuffer& mapText,
                    const Memories& memories) const {
    std::vector<FileText> outputs;
    for (const Wanted& memory : memories) {
      for (std::size_t part = 0; part < memory.widFiles.size(); ++part) {
        outputs.push_back({memory.widFiles[part], spellWid(locator, memory, memory.parts[part])});
      }
    }
    if (mapFile) {
      const std::string design = fingerprintOf(locator.getTable());
      outputs.push_back({*mapFile, isUpdate ? replaceDesign(mapText.text(), map, design)
                                            : spellNewMap(design, memories)});
    }
    std::string fault = refuseOutputs(outputs, memories);
    if (!fault.empty() || outputs.empty()) return fault;
    if (outputs.size() > 1) return putFiles(outputs);
    return putFile(outputs.front().fileName, bytesOf(outputs.front().text), {});
  }

  ExitStatus print(const Locator& locator, const Memories& memories, bool isLocated,
                   const Messages& messages) const {
    StandardOutput output;
    if (isJson) {
      JsonObject object(output);
      object.add("file", bitFile);
      object.add("identifierBits", locator.getTable().getIdentifierBits());
      object.add("design", fingerprintOf(locator.getTable()));
      object.add("located", isLocated);
      object.beginList("memories");
      for (const Wanted& memory : memories) object.addElement(toJson(locator, memory));
      object.endList();
      object.end(messages.getWarnings());
    } else if (isLocated && mapFile) {
      for (const Wanted& memory : memories) output.write(summaryOf(memory));
    } else if (isLocated && !hasFile()) {
      output.write(spellWid(locator, memories.front(), memories.front().parts.front()));
    }
    return output.finish(isLocated ? ExitStatus::FINE : ExitStatus::NO);
  }

  ExitStatus run() const {
    Messages messages(isJson, detail);
    Memories memories;
    OpenStream stream;
    Map map;
    ByteBuffer mapText;
    std::string fault = readArguments(memories);
    if (fault.empty()) fault = openMap(map, mapText);
    if (!fault.empty()) return messages.refuse(fault);
    if (!readContents(memories, messages) || !openStream(bitFile, stream, messages)) {
      return ExitStatus::FAILED;
    }
    const std::optional<SectionTable> table =
        findSections(stream, identifierBits != 0 ? identifierBits : map.identifierBits, messages);
    if (!table) return ExitStatus::FAILED;
    const Locator locator(*table);
    locator.locate(memories, messages);
    bool isLocated = true;
    for (const Wanted& memory : memories) {
      if (memory.reason.empty()) continue;
      isLocated = false;
      printDiagnostic("not located: ", withoutControls(memory.label() + ": " + memory.reason));
    }
    if (!isLocated) return print(locator, memories, false, messages);
    locator.warnOfHiddenEbrs(memories, messages);
    fault = nameOutputs(map, memories);
    if (fault.empty()) fault = write(locator, map, mapText, memories);
    return fault.empty() ? print(locator, memories, true, messages) : messages.refuse(fault);
  }
};

}  // namespace

const Program LOCATE = {"locate", "Find the EBRs that hold known contents: write .wid files, a map",
                        prepare<Locate>};
