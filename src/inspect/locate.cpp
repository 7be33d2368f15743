// `locate`: the width files of memories whose contents are known, and the map of a design.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <climits>
#include <filesystem>
#include <map>

#include "companion/json.h"
#include "companion/output.h"
#include "console/lines.h"
#include "inspect/known.h"
#include "inspect/listed.h"
#include "inspect/located.h"
#include "inspect/sections.h"
#include "inspect/subcommands.h"
#include "layout/mapfile.h"
#include "layout/mapspelling.h"
#include "layout/maptext.h"
#include "layout/number.h"
#include "reports/text.h"

namespace {

using std::to_string;

constexpr const char* STANDARD_INPUT = "/dev/stdin";

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
  std::string nameMemory(const std::string& argument, const KnownMemories& others,
                         KnownMemory& memory) const {
    const std::size_t equals = mapFile ? argument.find('=') : std::string::npos;
    if (mapFile && equals == std::string::npos) {
      return argument + ": with --map write NAME=" + argument;
    }
    memory.name = mapFile ? argument.substr(0, equals) : "";
    if (mapFile && !isMemoryName(memory.name)) {
      return argument + ": no name before the =: letters, digits, _ . -, first a letter or _";
    }
    if (std::ranges::find(others, memory.name, &KnownMemory::name) != others.end()) {
      return argument + ": " + memory.name + " comes twice";
    }
    memory.file = argument.substr(mapFile ? equals + 1 : 0);
    if (memory.file != "-") return "";
    memory.file = STANDARD_INPUT;
    const bool isAgain = bitFile == STANDARD_INPUT || mapFile == STANDARD_INPUT ||
                         std::ranges::find(others, memory.file, &KnownMemory::file) != others.end();
    return isAgain ? "standard input (-) can't be read twice" : "";
  }

  // Names the memories and their files. Returns what is wrong with the command line.
  std::string readArguments(KnownMemories& memories) const {
    if (!mapFile && arguments.size() > 1) return "several memories need --map";
    std::map<std::string, std::uint64_t> widths;
    std::string fault = readWidths(widths);
    for (const std::string& argument : arguments) {
      KnownMemory memory;
      if (fault.empty()) fault = nameMemory(argument, memories, memory);
      if (const auto width = widths.extract(memory.name)) memory.known.wordBits = width.mapped();
      memories.push_back(std::move(memory));
    }
    if (!fault.empty() || widths.empty()) return fault;
    return "--data-width " + widths.begin()->first + "=...: no such memory is to be located";
  }

  // False if one can't be read, which is reported.
  bool readContents(KnownMemories& memories, const Messages& messages) const {
    const auto read = mapFile ? readKnownText : readKnownLines;
    return std::ranges::all_of(memories, [&](KnownMemory& memory) {
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

  // A map needs identifiers that the bitstream has once. Returns what is wrong; empty if nothing
  // is.
  std::string refuseRepeated(const Locator& locator, const KnownMemories& memories) const {
    const SectionTable& table = locator.getTable();
    std::map<std::string, int> counts;
    for (const std::uint64_t section : table.getWalk()) {
      ++counts[table.getIdentifier(table.getCommand(section))];
    }
    for (const KnownMemory& memory : memories) {
      for (const Fit& part : memory.parts) {
        for (const std::string& identifier : locator.identifiersOf(part)) {
          if (counts[identifier] == 1) continue;
          return memory.label() + ": EBR " + identifier + " is in " + bitFile +
                 " more than once, and a map can't have it";
        }
      }
    }
    return "";
  }

  std::string nameOutputs(const Map& map, KnownMemories& memories) const {
    if (isUpdate) return fitToMap(map, memories);
    for (KnownMemory& memory : memories) {
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
  std::string refuseOutputs(const std::vector<FileText>& outputs,
                            const KnownMemories& memories) const {
    std::vector<ReadFile> inputs = {{bitFile, identityOf(bitFile)}};
    for (const KnownMemory& memory : memories)
      inputs.push_back({memory.file, identityOf(memory.file)});
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
                    const KnownMemories& memories) const {
    std::vector<FileText> outputs;
    for (const KnownMemory& memory : memories) {
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

  ExitStatus print(const Locator& locator, const KnownMemories& memories, bool isLocated,
                   const Messages& messages) const {
    StandardOutput output;
    if (isJson) {
      JsonObject object(output);
      object.add("file", bitFile);
      object.add("identifierBits", locator.getTable().getIdentifierBits());
      object.add("design", fingerprintOf(locator.getTable()));
      object.add("located", isLocated);
      object.beginList("memories");
      for (const KnownMemory& memory : memories) object.addElement(toJson(locator, memory));
      object.endList();
      object.end(messages.getWarnings());
    } else if (isLocated && mapFile) {
      for (const KnownMemory& memory : memories) output.write(summaryOf(memory));
    } else if (isLocated && !hasFile()) {
      output.write(spellWid(locator, memories.front(), memories.front().parts.front()));
    }
    return output.finish(isLocated ? ExitStatus::FINE : ExitStatus::NO);
  }

  ExitStatus run() const {
    Messages messages(isJson, detail);
    KnownMemories memories;
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
    for (const KnownMemory& memory : memories) {
      if (memory.reason.empty()) continue;
      isLocated = false;
      printDiagnostic("not located: ", withoutControls(memory.label() + ": " + memory.reason));
    }
    if (!isLocated) return print(locator, memories, false, messages);
    locator.warnOfHiddenEbrs(memories, messages);
    fault = mapFile ? refuseRepeated(locator, memories) : "";
    if (fault.empty()) fault = nameOutputs(map, memories);
    if (fault.empty()) fault = write(locator, map, mapText, memories);
    return fault.empty() ? print(locator, memories, true, messages) : messages.refuse(fault);
  }
};

}  // namespace

const Program LOCATE = {"locate", "Find the EBRs that hold known contents: write .wid files, a map",
                        prepare<Locate>};
