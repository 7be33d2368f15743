#include "inspect/extract.h"

#include <algorithm>
#include <numeric>

#include "base/hexwords.h"
#include "console/lines.h"
#include "ebr/columns.h"
#include "ebr/edit.h"
#include "inputs/loading.h"
#include "inspect/contents.h"
#include "inspect/lookup.h"
#include "inspect/opening.h"
#include "inspect/output.h"
#include "inspect/texts.h"

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

// Finds the listed EBRs. False when one can't be used, which is said on standard error.
bool findListed(const Bitstream& bitstream, const std::vector<std::string>& wids,
                std::vector<EbrCommand>& commands) {
  SectionChain chain(bitstream, wids);
  for (const std::string& wid : wids) {
    const Lookup lookup = findEbr(bitstream, chain, wid);
    if (!lookup.isUsable()) {
      printDiagnostic("ERROR: ", wordsOf(lookup, wid));
      return false;
    }
    commands.push_back(lookup.command);
  }
  return true;
}

MemoryShape shapeOf(const MemoryInputs& inputs, const std::vector<EbrCommand>& commands) {
  MemoryShape shape{inputs.wids.size(), inputs.getBitsPerEbr()};
  const auto smallest = std::min_element(
      commands.begin(), commands.end(),
      [](const EbrCommand& a, const EbrCommand& b) { return a.frameCount < b.frameCount; });
  shape.wordsHeld = writtenWords(smallest->frameCount, 0) * 8 / shape.bitsPerEbr;
  return shape;
}

std::uint64_t addressedWords(int addressWidth) {
  return addressWidth < 0 ? 0 : UINT64_C(1) << std::min(addressWidth, 63);
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
    const ContentsFacts facts = readContents(bitstream, command, contentsBytes(command), contents);
    putColumn(words, ebr, contents);
    printWarnings(wids[ebr], facts, words.getColumnBits(ebr), contents);
  }
  return words;
}

std::string spell(const MemoryWords& words, std::uint64_t lineBits, std::uint64_t numLines) {
  std::string text;
  text.reserve(numLines * (lineBits / 4 + 1));
  for (std::uint64_t line = 0; line < numLines; ++line) {
    appendHexDigits(words.getBytes(), line * lineBits, (line + 1) * lineBits, text);
    text += '\n';
  }
  return text;
}

}  // namespace

ExitStatus runExtract(const CommandLine& commandLine) {
  MemoryInputs inputs;
  OpenStream stream;
  std::vector<EbrCommand> commands;
  if (!isReadable(loadWidths(commandLine.widFile, inputs)) ||
      !openStream(commandLine.bitFile, stream) ||
      !findListed(stream.bitstream, inputs.wids, commands)) {
    return ExitStatus::FAILED;
  }
  const MemoryShape shape = shapeOf(inputs, commands);
  if (commandLine.words > shape.wordsHeld) {
    printDiagnostic("ERROR: --words: the EBRs hold only ", countOf(shape.wordsHeld, "word"));
    return ExitStatus::FAILED;
  }
  const std::uint64_t wanted =
      commandLine.words != 0 ? commandLine.words
                             : std::min(addressedWords(inputs.widths.address), shape.wordsHeld);
  const std::uint64_t numLines = shape.wholeLines(wanted);
  const MemoryWords words = readWords(stream.bitstream, inputs.wids, commands, shape, numLines);
  return putResult(commandLine.outputFile, spell(words, shape.lineBits(), numLines),
                   stream.identity);
}
