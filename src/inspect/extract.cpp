// `extract`: the memory file whose graft gives the contents that a bitstream has.
#include <algorithm>
#include <numeric>

#include "companion/opening.h"
#include "companion/options.h"
#include "companion/output.h"
#include "console/lines.h"
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
void printWarnings(const std::string& wid, const ContentsFacts& facts, std::uint64_t columnBits,
                   const std::vector<unsigned char>& contents) {
  const std::string ebr = "EBR " + excerptOf(wid) + ": ";
  if (facts.ninthBits != 0) {
    printWarning(ebr, countOf(facts.ninthBits, "ninth bit"), " set, which no .mem can say");
  }
  if (!facts.hasLastingCrc()) {
    printWarning(ebr, "the CRC is ", nameOf(facts.crc.verdict), ": ", toHex16(facts.crc.stored),
                 ", ramgraft would write ", toHex16(facts.crc.computed));
  }
  if (hasBitsFrom(columnBits, contents)) {
    printWarning(ebr, "contents that aren't 0 after the last word");
  }
}

MemoryWords readWords(const Bitstream& bitstream, const std::vector<std::string>& wids,
                      const std::vector<EbrCommand>& commands, const MemoryShape& shape,
                      std::uint64_t numLines) {
  MemoryWords words(shape.numEbrs, shape.bitsPerEbr);
  words.appendZeros(numLines * shape.lineBits() / 8);
  std::vector<unsigned char> contents;
  for (std::size_t ebr = 0; ebr < commands.size(); ++ebr) {
    const EbrCommand& command = commands[ebr];
    const ContentsFacts facts = readContents(bitstream, command, command.contentsBytes(), contents);
    putColumn(words, ebr, contents);
    printWarnings(wids[ebr], facts, words.getColumnBits(ebr), contents);
  }
  return words;
}

struct Extract {
  std::string bitFile, widFile;
  std::optional<std::string> outputFile;
  std::uint64_t words = 0;  // 0 if the address width says how many

  void addTo(CLI::App& app) {
    addNumber(app, "--words", "Memory words to take; otherwise all that the address width says",
              UINT32_MAX, words);
    addOutput(app, "FILE.mem", outputFile);
    addFile(app, "FILE.bit", "The bitstream", bitFile);
    addFile(app, "FILE.wid", "The EBRs that make up the memory", widFile);
  }

  ExitStatus run() const {
    MemoryInputs inputs;
    OpenStream stream;
    if (!reportFault(loadWidths(widFile, inputs)) || !openStream(bitFile, stream)) {
      return ExitStatus::FAILED;
    }
    std::vector<EbrCommand> commands;
    const std::vector<Lookup> walked = lookUpOnWalk(stream.bitstream, inputs.wids);
    for (const Lookup& lookup : walked) {
      if (!lookup.isUsable()) return refuse(textOf(lookup));
      commands.push_back(lookup.command);
    }
    const MemoryShape shape = shapeOf(inputs, commands);
    if (words > shape.wordsHeld) {
      return refuse("--words: the EBRs hold only " + countOf(shape.wordsHeld, "word"));
    }
    const std::uint64_t wanted =
        words != 0 ? words : std::min(inputs.widths.addressedWords(), shape.wordsHeld);
    warnOfHidden(stream.bitstream, walked);
    const MemoryWords contents =
        readWords(stream.bitstream, inputs.wids, commands, shape, shape.wholeLines(wanted));
    return putResult(outputFile, spellMemoryFile(contents, shape.lineBits()), {bitFile, widFile});
  }
};

}  // namespace

const Program EXTRACT = {"extract", "Take the contents of a memory out", prepare<Extract>};
