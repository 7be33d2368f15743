// `dump`: a memory's contents as its map has them.
#include <CLI/CLI.hpp>
#include <algorithm>

#include "companion/output.h"
#include "inspect/mapped.h"
#include "inspect/subcommands.h"
#include "layout/spelling.h"
#include "reports/position.h"
#include "reports/text.h"

namespace {

// Why the memory can't be dumped as bytes; empty if it can.
std::string refuseBytes(const Map& map, const Memory& memory) {
  if (!memory.hasByteAddresses()) {
    return positionText(map.file, memory.line) + memory.name + " has words of " +
           countOf(memory.wordBits, "bit") + ", which make no bytes: --words dumps them";
  }
  return memory.wordBytes() > 1 && !memory.order ? needsOrder(map, memory) : "";
}

std::string spellWords(const Memory& memory, const std::vector<unsigned char>& image) {
  std::string text;
  for (std::uint64_t word = 0; word < memory.words; ++word) {
    text += spellWord(memory, image, word) + "\n";
  }
  return text;
}

struct Dump {
  std::string mapFile, bitFile, name;
  std::optional<std::string> outputFile;
  bool isWords = false;
  bool takesAnyDesign = false;

  void addTo(CLI::App& app) {
    app.add_flag("--words", isWords, "Print hexadecimal words, one a line")
        ->disable_flag_override();
    addAnyDesign(app, takesAnyDesign);
    addOutput(app, "FILE", outputFile);
    addFile(app, "MAP.toml", "The map of the memories", mapFile);
    addFile(app, "FILE.bit", "The bitstream", bitFile);
    app.add_option("NAME", name, "The memory")->required()->type_name("");
  }

  ExitStatus run() const {
    const Messages messages(false);
    OpenStream stream;
    MappedStream mapped;
    if (!openStream(bitFile, stream, messages) ||
        !openMap(mapFile, stream, takesAnyDesign, mapped, messages)) {
      return ExitStatus::FAILED;
    }
    const std::vector<Memory>& memories = mapped.map.memories;
    const auto memory = std::ranges::find(memories, name, &Memory::name);
    if (memory == memories.end()) {
      return messages.refuse(positionText(mapFile) + "no memory is named " + excerptOf(name));
    }
    const std::string fault = isWords ? "" : refuseBytes(mapped.map, *memory);
    if (!fault.empty()) return messages.refuse(fault);
    const std::vector<unsigned char> image = readImage(stream.bitstream, *memory, mapped.placement);
    std::vector<std::string> inputs = {bitFile};
    for (const MapInput& input : mapped.map.inputs) inputs.push_back(input.name);
    return putResult(outputFile,
                     isWords ? spellWords(*memory, image) : std::string(image.begin(), image.end()),
                     inputs, messages);
  }
};

}  // namespace

const Program DUMP = {"dump", "Take out a memory of a map: its bytes or words", prepare<Dump>};
