#include "load/load.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <new>
#include <optional>
#include <utility>

#include "companion/json.h"
#include "companion/output.h"
#include "console/lines.h"
#include "files/process.h"
#include "files/read.h"
#include "inputs/loading.h"
#include "load/arguments.h"
#include "load/check.h"
#include "load/depfile.h"
#include "load/messages.h"
#include "load/report.h"
#include "load/sets.h"
#include "reports/inputs.h"

namespace {

// One load, step by step. A step returns the sentence that says why it can't be done, empty if it
// was done.
class Load {
 public:
  explicit Load(const Arguments& given) : arguments(given), messages(given.isQuiet) {}

  // Does everything in memory. Nothing is written before that succeeds.
  std::string prepare() {
    std::string fault = readInputs();
    if (fault.empty()) fault = refuseOutputs();
    if (fault.empty()) fault = fillImages();
    if (!fault.empty()) return fault;
    images->complete(bitstream, placement, arguments.keepsRest);
    if (arguments.isCheck) differences = compareImages(map, placement, *images, bitstream);
    changes = graftImages(map, placement, *images, bitstream, messages);
    return "";
  }

  // The rule comes first: if the bitstream then can't be written, make tries again.
  std::string write() const {
    if (arguments.isCheck) return "";
    if (arguments.depFile) {
      if (std::string fault = writeDepFile(); !fault.empty()) return fault;
    }
    if (arguments.isIfChanged && hasThisContents(*arguments.outputFile)) return "";
    const bool isStandardOutput = *arguments.outputFile == "-";
    return putFile(isStandardOutput ? "/dev/stdout" : *arguments.outputFile,
                   {bitstream.getBytes(), bitstream.getNumBytes()}, bitIdentity);
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
    if (!arguments.isQuiet) printDiagnosticText(spellReport(all));
    StandardOutput output;
    if (arguments.isJson) writeReport(all, output);
    const bool isNo = arguments.isCheck && !all.isSame();
    return output.finish(isNo ? ExitStatus::NO : ExitStatus::FINE);
  }

 private:
  std::string readInputs() {
    std::string fault = readMap(arguments.mapFile, map);
    if (!fault.empty()) return fault;
    addresses.emplace(map);
    fault = openBitstream();
    for (const std::string& argument : arguments.contents) {
      if (!fault.empty()) return fault;
      fault = readContent(argument, map, *addresses, contents.emplace_back());
    }
    for (const std::string& file : arguments.symbolFiles) {
      if (!fault.empty()) return fault;
      fault = readSymbolFile(file, symbolFiles.emplace_back());
    }
    return fault;
  }

  std::string openBitstream() {
    const InputFault fault = loadBitstream(arguments.bitFile, bitstream, bitIdentity);
    if (fault.kind != InputFault::Kind::NONE) return textOf(fault);
    return placeMap(map, arguments.bitFile, bitstream, placement);
  }

  // All files that are read, but the bitstream.
  std::vector<MapInput> inputsBesideBitstream() const {
    std::vector<MapInput> inputs = map.inputs;
    for (const Content& content : contents) inputs.push_back({content.file, content.identity});
    for (const Content& content : symbolFiles) inputs.push_back({content.file, content.identity});
    return inputs;
  }

  // An output may replace the bitstream that it was made from, and no other input.
  std::string refuseOutputs() const {
    std::vector<MapInput> inputs = inputsBesideBitstream();
    if (arguments.outputFile) {
      if (std::string fault = refuseInput(*arguments.outputFile, inputs); !fault.empty()) {
        return fault;
      }
      inputs.push_back({*arguments.outputFile, identityOf(*arguments.outputFile)});
    }
    inputs.push_back({arguments.bitFile, bitIdentity});
    return arguments.depFile ? refuseInput(*arguments.depFile, inputs) : "";
  }

  std::string fillImages() {
    images.emplace(map, *addresses);
    for (const Content& content : contents) {
      for (const std::string& note : content.image.notes) messages.note(note);
      const std::string fault = images->place(content, arguments.takesAnyByteOrder);
      if (!fault.empty()) return fault;
    }
    for (const std::string& argument : arguments.sets) {
      SetValue& set = sets.emplace_back();
      const std::string fault = readSet(argument, map, *addresses, contents, symbolFiles, set);
      if (!fault.empty()) return fault;
      images->set(set.memory, set.offset, set.bytes);
    }
    return "";
  }

  bool hasThisContents(const std::string& file) const {
    ByteBuffer bytes;
    return readWholeFile(file, bytes).outcome == ReadResult::Outcome::DONE &&
           bytes.size() == bitstream.getNumBytes() &&
           std::memcmp(bytes.data(), bitstream.getBytes(), bytes.size()) == 0;
  }

  std::string writeDepFile() const {
    std::vector<std::string> names = {arguments.bitFile};
    for (const MapInput& input : inputsBesideBitstream()) {
      if (input.name != "-") names.push_back(input.name);
    }
    const std::string rule = spellRule(*arguments.outputFile, names);
    if (rule.empty()) return *arguments.depFile + ": a file name with a line end fits no rule";
    return putFile(*arguments.depFile, bytesOf(rule), {});
  }

  const Arguments& arguments;
  Messages messages;
  Map map;
  std::optional<AddressSpace> addresses;
  Bitstream bitstream{0};
  FileIdentity bitIdentity;
  Placement placement;
  std::deque<Content> contents, symbolFiles;
  std::vector<SetValue> sets;
  std::optional<Images> images;
  std::optional<std::vector<MemoryDifferences>> differences;
  std::vector<GraftChanges> changes;
};

ExitStatus fail(const std::string& fault, bool isJson) {
  if (isJson) {
    StandardOutput output;
    JsonObject object(output);
    object.add("version", 1);
    object.add("error", fault);
    object.end();
    static_cast<void>(output.finish(ExitStatus::FAILED));
  }
  return refuse(fault);
}

ExitStatus load(const Arguments& arguments) {
  Load load(arguments);
  std::string fault = load.prepare();
  if (fault.empty()) fault = load.write();
  return fault.empty() ? load.report() : fail(fault, arguments.isJson);
}

ExitStatus run(const Request& request) {
  switch (request.kind) {
    case Request::Kind::LOAD:
      return load(request.arguments);
    case Request::Kind::HELP:
      return putResult(std::nullopt, request.text, {});
    case Request::Kind::FAULT:
      break;
  }
  return refuse(request.text + "; ramgraft-load --help explains");
}

}  // namespace

int runLoad(int argc, const char* const argv[]) {
  prepareProcess();
  try {
    return static_cast<int>(run(parseArguments(argc, argv)));
    // GCOVR_EXCL_START: a limit on memory would do it, but leaves no room for the counts.
  } catch (const std::bad_alloc&) {
    return static_cast<int>(refuse("out of memory"));
  }
  // GCOVR_EXCL_STOP
}
