// `extract`: the memory file whose graft gives the contents that a bitstream has.
#include <algorithm>
#include <map>
#include <numeric>
#include <sstream>

#include "companion/json.h"
#include "companion/opening.h"
#include "companion/options.h"
#include "companion/output.h"
#include "ebr/columns.h"
#include "ebr/graft.h"
#include "inputs/loading.h"
#include "inspect/sections.h"
#include "inspect/subcommands.h"
#include "reports/ebrs.h"
#include "reports/text.h"
#include "survey/contents.h"
#include "survey/walklookup.h"

namespace {

// How many words there are, and how the memory file groups them.
struct MemoryShape {
  std::uint64_t numEbrs, bitsPerEbr;
  std::uint64_t wordsHeld = 0;  // by the smallest EBR

  std::uint64_t wordBits() const { return numEbrs * bitsPerEbr; }
  // The fewest words that make whole bytes.
  std::uint64_t lineWords() const { return 8 / std::gcd(wordBits(), UINT64_C(8)); }
  std::uint64_t lineBits() const { return wordBits() * lineWords(); }
  std::uint64_t wholeLines(std::uint64_t words) const { return words / lineWords(); }
};

MemoryShape shapeOf(const MemoryInputs& inputs, const std::vector<EbrCommand>& commands) {
  MemoryShape shape{inputs.wids.size(), inputs.getBitsPerEbr()};
  const std::uint64_t fewest = std::ranges::min(commands, {}, &EbrCommand::frameCount).frameCount;
  shape.wordsHeld = writableWords(fewest, 0) * 8 / shape.bitsPerEbr;
  return shape;
}

// What the memory file can't say about one EBR, whose column ends before bit `columnBits` of the
// contents.
void warnOf(const std::string& wid, const ContentsFacts& facts, std::uint64_t columnBits,
            const std::vector<unsigned char>& contents, Messages& messages) {
  const std::string ebr = "EBR " + excerptOf(wid) + ": ";
  if (facts.ninthBits != 0) {
    messages.warn(ebr + countOf(facts.ninthBits, "ninth bit") + " set, which no .mem can say");
  }
  if (!facts.hasLastingCrc()) {
    messages.warn(ebr + "the CRC is " + std::string(nameOf(facts.crc.verdict)) + ": " +
                  toHex16(facts.crc.stored) + ", ramgraft would write " +
                  toHex16(facts.crc.computed));
  }
  if (hasBitsFrom(columnBits, contents)) {
    messages.warn(ebr + "contents that aren't 0 after the last word");
  }
}

// All columns are equally long, because lines are whole words. So an EBR that is listed more than
// once is read once.
MemoryWords readWords(const Bitstream& bitstream, const std::vector<std::string>& wids,
                      const std::vector<EbrCommand>& commands, const MemoryShape& shape,
                      std::uint64_t numLines, Messages& messages) {
  MemoryWords words(shape.numEbrs, shape.bitsPerEbr);
  words.appendZeros(numLines * shape.lineBits() / 8);
  std::map<std::uint64_t, std::vector<unsigned char>> known;  // by the bit of the command
  for (std::size_t ebr = 0; ebr < commands.size(); ++ebr) {
    const EbrCommand& command = commands[ebr];
    const auto [found, isNew] = known.try_emplace(command.opcodeIndex);
    std::vector<unsigned char>& contents = found->second;
    if (isNew) {
      const ContentsFacts facts =
          readContents(bitstream, command, command.contentsBytes(), contents);
      warnOf(wids[ebr], facts, words.getColumnBits(ebr), contents, messages);
    }
    putColumn(words, ebr, contents);
  }
  return words;
}

struct Extract {
  std::string bitFile, widFile;
  std::optional<std::string> outputFile;
  std::uint64_t words = 0;  // 0 if the address width says how many
  bool isJson = false;

  void addTo(CLI::App& app) {
    addNumber(app, "--words", "Memory words to take; otherwise all that the address width says",
              UINT32_MAX, words);
    addJson(app, isJson);
    addOutput(app, "FILE.mem", outputFile);
    addFile(app, "FILE.bit", "The bitstream", bitFile);
    addFile(app, "FILE.wid", "The EBRs that make up the memory", widFile);
  }

  // `text` is the memory file, which has `numWords` words.
  ExitStatus printJson(const MemoryInputs& inputs, const MemoryShape& shape, std::uint64_t numWords,
                       const std::string& text, const Messages& messages) const {
    StandardOutput output;
    JsonObject object(output);
    object.add("file", bitFile);
    object.add("wid", widFile);
    object.add("identifierBits", inputs.wids.front().size());
    object.add("words", numWords);
    object.add("wordBits", shape.wordBits());
    object.add("lineWords", shape.lineWords());
    if (outputFile) {
      object.add("output", *outputFile);
    } else {
      object.beginList("lines");
      std::istringstream lines(text);
      for (std::string line; std::getline(lines, line);) object.addElement(line);
      object.endList();
    }
    object.end(messages.getWarnings());
    return output.finish(ExitStatus::FINE);
  }

  ExitStatus run() const {
    Messages messages(isJson);
    MemoryInputs inputs;
    OpenStream stream;
    if (!reportFault(loadWidths(widFile, inputs), messages) ||
        !openStream(bitFile, stream, messages)) {
      return ExitStatus::FAILED;
    }
    std::vector<EbrCommand> commands;
    const std::vector<Lookup> walked = lookUpOnWalk(stream.bitstream, inputs.wids);
    for (const Lookup& lookup : walked) {
      if (!lookup.isUsable()) return messages.refuse(textOf(lookup));
      commands.push_back(lookup.command);
    }
    const MemoryShape shape = shapeOf(inputs, commands);
    if (words > shape.wordsHeld) {
      return messages.refuse("--words: the EBRs hold only " + countOf(shape.wordsHeld, "word"));
    }
    const std::uint64_t wanted =
        words != 0 ? words : std::min(inputs.widths.addressedWords(), shape.wordsHeld);
    warnOfHidden(stream.bitstream, walked, messages);
    const std::uint64_t numLines = shape.wholeLines(wanted);
    const MemoryWords contents =
        readWords(stream.bitstream, inputs.wids, commands, shape, numLines, messages);
    const std::string text = spellMemoryFile(contents, shape.lineBits());
    if (!isJson || outputFile) {
      const ExitStatus status = putResult(outputFile, text, {bitFile, widFile}, messages);
      if (!isJson || status != ExitStatus::FINE) return status;
    }
    return printJson(inputs, shape, numLines * shape.lineWords(), text, messages);
  }
};

}  // namespace

const Program EXTRACT = {"extract", "Take the contents of a memory out", prepare<Extract>};
