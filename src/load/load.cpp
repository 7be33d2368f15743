#include "load/load.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <filesystem>
#include <optional>
#include <utility>

#include "companion/messages.h"
#include "companion/output.h"
#include "companion/program.h"
#include "console/lines.h"
#include "ebr/chain.h"
#include "ebr/sectiontable.h"
#include "files/read.h"
#include "inputs/loading.h"
#include "load/check.h"
#include "load/depfile.h"
#include "load/options.h"
#include "load/report.h"
#include "load/sets.h"
#include "reports/inputs.h"
#include "reports/text.h"

namespace {

// The lines come together, so that no other program's come between them.
void printReport(const std::string& lines) {
  printDiagnostic(std::string_view(lines).substr(0, lines.size() - 1));
}

// True if both names lead to one file, which need not be there yet.
bool isSameFile(const std::string& a, const std::string& b) {
  const auto place = [](const std::string& name) {
    std::error_code ignored;
    return std::filesystem::weakly_canonical(std::filesystem::absolute(name), ignored);
  };
  return place(a) == place(b) ||
         (identityOf(a) != FileIdentity() && identityOf(a) == identityOf(b));
}

// True if the name leads to what standard output is, unless that is a device like /dev/null.
bool isStandardOutput(const std::string& file) {
  struct stat status {};
  return ::fstat(STDOUT_FILENO, &status) == 0 && !S_ISCHR(status.st_mode) &&
         identityOf(file) == identityOf(status);
}

// One load, step by step. A step returns the sentence that says why it can't be done, empty if it
// was done.
class Load {
 public:
  explicit Load(const LoadOptions& given)
      : options(given), messages(given.isJson, given.isQuiet ? Detail::QUIET : Detail::USUAL) {}

  ExitStatus run() {
    std::string fault = options.contradiction();
    if (!fault.empty()) fault += "; ramgraft-load --help explains";
    if (fault.empty()) fault = prepare();
    if (fault.empty()) fault = write();
    return fault.empty() ? report() : messages.refuse(fault);
  }

 private:
  // Does everything in memory. Nothing is written before that succeeds.
  std::string prepare() {
    std::string fault = readInputs();
    if (fault.empty()) fault = refuseOutputs();
    if (fault.empty()) fault = fillImages();
    if (!fault.empty()) return fault;
    images->complete(bitstream, placement, options.keepsRest);
    if (options.isCheck) differences = compareImages(map, placement, *images, bitstream);
    changes = graftImages(map, placement, *images, bitstream, messages);
    if (std::ranges::any_of(changes, &GraftChanges::hasAddress)) noteHidden();
    return "";
  }

  // The rule comes first: if the bitstream then can't be written, make tries again.
  std::string write() const {
    if (options.isCheck) return "";
    if (options.depFile) {
      if (std::string fault = writeDepFile(); !fault.empty()) return fault;
    }
    if (options.isIfChanged && hasThisContents(*options.outputFile)) return "";
    const bool isStandardOutput = *options.outputFile == "-";
    return putFile(isStandardOutput ? "/dev/stdout" : *options.outputFile,
                   {bitstream.getBytes(), bitstream.getNumBytes()}, bitIdentity, update.old);
  }

  ExitStatus report() const {
    const Report all = {map,
                        *addresses,
                        contents,
                        sets,
                        *images,
                        changes,
                        differences ? &*differences : nullptr,
                        messages.getWarnings()};
    if (!options.isQuiet) printReport(spellReport(all));
    StandardOutput output;
    if (options.isJson) writeReport(all, output);
    const bool isNo = options.isCheck && !all.isSame();
    return output.finish(isNo ? ExitStatus::NO : ExitStatus::FINE);
  }

  // Contents can spell an address. That matters to ramgraft alone, which searches them, too. Takes
  // a search through the whole stream.
  void noteHidden() const {
    const SectionTable table(bitstream, findAllSections(bitstream), map.identifierBits);
    std::vector<EbrCommand> hidden = table.findEbrs();
    std::erase_if(hidden, [&](const EbrCommand& ebr) { return !table.isHidden(ebr); });
    if (hidden.empty()) return;
    const EbrCommand& first = hidden.front();
    messages.note(countOf(hidden.size(), "EBR") + (hidden.size() == 1 ? " is" : " are") +
                  " now out of reach for ramgraft itself (first: " + table.getIdentifier(first) +
                  " at bit " + std::to_string(first.opcodeIndex) +
                  "), because contents spell an address; ramgraft-load isn't bothered by it");
  }

  std::string readInputs() {
    std::string fault = readMap(options.mapFile, map);
    if (!fault.empty()) return fault;
    addresses.emplace(map);
    fault = openBitstream();
    for (const std::string& argument : options.contents) {
      if (fault.empty()) fault = refuseUsedPipe(fileOf(argument));
      if (!fault.empty()) return fault;
      fault = openContent(argument, map, *addresses, contents.emplace_back());
    }
    for (const std::string& file : options.symbolFiles) {
      if (fault.empty()) fault = refuseUsedPipe(file);
      if (!fault.empty()) return fault;
      fault = readSymbolFile(file, symbolFiles.emplace_back());
    }
    return fault;
  }

  // A pipe that has been read is empty, or waits for ever for another writer.
  std::string refuseUsedPipe(const std::string& file) const {
    struct stat status {};
    const std::string name = file == "-" ? "/dev/stdin" : file;
    if (::stat(name.c_str(), &status) != 0 || !S_ISFIFO(status.st_mode)) return "";
    std::vector<ReadFile> inputs = inputsBesideBitstream();
    inputs.push_back({options.bitFile, bitIdentity});
    const bool isUsed =
        std::ranges::find(inputs, identityOf(status), &ReadFile::identity) != inputs.end();
    return isUsed ? file + ": a pipe that has been read can't be read again" : "";
  }

  std::string openBitstream() {
    if (std::string fault = refuseUsedPipe(options.bitFile); !fault.empty()) return fault;
    const InputFault fault = loadBitstream(options.bitFile, options.outputFile.value_or(""),
                                           bitstream, bitIdentity, update);
    if (fault.kind != InputFault::Kind::NONE) return textOf(fault);
    return placeMap(map, options.bitFile, bitstream, options.takesAnyDesign, placement);
  }

  // All files that are read, but the bitstream.
  std::vector<ReadFile> inputsBesideBitstream() const {
    std::vector<ReadFile> inputs;
    for (const MapInput& input : map.inputs) inputs.push_back({input.name, input.identity});
    for (const Content& content : contents) inputs.push_back({content.file, content.identity});
    for (const Content& content : symbolFiles) inputs.push_back({content.file, content.identity});
    return inputs;
  }

  // An output may replace the bitstream that it was made from, and no other input.
  std::string refuseOutputs() const {
    std::vector<ReadFile> inputs = inputsBesideBitstream();
    std::string fault = options.outputFile ? refuseInput(*options.outputFile, inputs) : "";
    if (fault.empty() && options.isJson && options.outputFile &&
        isStandardOutput(*options.outputFile)) {
      return "-o and --json both use standard output";
    }
    if (!fault.empty() || !options.depFile) return fault;
    inputs.push_back({options.bitFile, bitIdentity});
    if (fault = refuseInput(*options.depFile, inputs); !fault.empty()) return fault;
    return isSameFile(*options.depFile, *options.outputFile) ? "--depfile and -o name the same file"
                                                             : "";
  }

  std::string fillImages() {
    images.emplace(map, *addresses);
    for (Content& content : contents) {
      std::string fault = images->place(content, options.takesAnyByteOrder);
      for (const std::string& note : content.facts.notes) messages.note(note);
      if (!fault.empty()) return fault;
    }
    for (Content& content : contents) {
      std::string fault = options.sets.empty() ? "" : readSymbols(content);
      if (!fault.empty()) return fault;
    }
    for (const std::string& argument : options.sets) {
      SetValue& set = sets.emplace_back();
      std::string fault = readSet(argument, map, *addresses, contents, symbolFiles, set);
      if (!fault.empty()) return fault;
      images->set(set.memory, set.offset, set.bytes);
    }
    return "";
  }

  bool hasThisContents(const std::string& file) const {
    struct stat status {};
    const bool isOfThisSize = ::stat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
                              static_cast<std::uint64_t>(status.st_size) == bitstream.getNumBytes();
    if (!isOfThisSize) return false;
    ByteBuffer bytes;
    return readWholeFile(file, bytes).outcome == ReadResult::Outcome::DONE &&
           bytes.size() == bitstream.getNumBytes() &&
           std::memcmp(bytes.data(), bitstream.getBytes(), bytes.size()) == 0;
  }

  std::string writeDepFile() const {
    std::vector<ReadFile> inputs = inputsBesideBitstream();
    inputs.insert(inputs.begin(), {options.bitFile, bitIdentity});
    std::vector<std::string> names;
    for (const ReadFile& input : inputs) {
      // A pipe is another one next time, and a file that depends on itself stops make.
      const bool isFile =
          !input.name.starts_with("/dev/") && std::filesystem::is_regular_file(input.name);
      const bool isOutput = isSameFile(input.name, *options.outputFile);
      const bool isKnown = std::ranges::find(names, input.name) != names.end();
      if (isFile && !isOutput && !isKnown) names.push_back(input.name);
    }
    const std::string rule = spellRule(*options.outputFile, names);
    if (rule.empty()) {
      return *options.depFile +
             ": a file name with a line end, ';', '=' or '|', or a backslash as "
             "its last character, fits no rule";
    }
    return putFile(*options.depFile, bytesOf(rule), {});
  }

  const LoadOptions& options;
  Messages messages;
  Map map;
  std::optional<AddressSpace> addresses;
  Bitstream bitstream{0};
  FileIdentity bitIdentity;
  Update update;  ///< until the output has been written
  Placement placement;
  std::deque<Content> contents, symbolFiles;
  std::vector<SetValue> sets;
  std::optional<Images> images;
  std::optional<std::vector<MemoryDifferences>> differences;
  std::vector<GraftChanges> changes;
};

// The program's only command.
struct LoadCommand : LoadOptions {
  ExitStatus run() const { return Load(*this).run(); }
};

}  // namespace

int runLoad(int argc, const char* const argv[]) {
  constexpr Program LOAD = {"ramgraft-load", "Put firmware into the memories of a bitstream.",
                            prepare<LoadCommand>};
  return runCompanion(
      LOAD,
      "CONTENT: FILE (ELF, Intel HEX, S-record) or PLACE=FILE (also .bin, text words).\n"
      "PLACE: an address, NAME or NAME+OFFSET of a memory; for --set also a symbol.\n"
      "VALUE: DEADBEEF (bytes in address order), u8: u16: u32: u64: and a number, str:TEXT.\n"
      "Exit status: 0 written (--check: has these contents already); 1 --check: has not; 2 could "
      "not be done, nothing written.",
      argc, argv);
}
