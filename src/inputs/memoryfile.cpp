#include "inputs/memoryfile.h"

#include <algorithm>

#include "base/digits.h"
#include "base/hexwords.h"
#include "ebr/format.h"
#include "ebr/linelengths.h"

namespace {

using Kind = InputFault::Kind;

InputFault notHexadecimalFault(const LineReader& reader, const TextLine& line) {
  InputFault fault = faultInLine(Kind::NOT_HEXADECIMAL, reader.getFileName(), line);
  fault.character = *std::find_if(line.text.begin(), line.text.end(),
                                  [](char digit) { return hexDigitValue(digit) < 0; });
  return fault;
}

std::uint64_t bitsOf(const TextLine& line) { return (line.text.size() + 1) / 2 * 8; }

class MemoryFileParser {
 public:
  MemoryFileParser(LineReader& lines, MemoryWords& memoryWords, MemoryFileSummary& fileSummary)
      : reader(lines), words(memoryWords), summary(fileSummary) {
    summary.file = reader.getFileName();
  }

  InputFault parse() {
    const struct stat& status = reader.getResult().status;  // a pipe's size is 0
    words.reserve(static_cast<std::uint64_t>(status.st_size) / 2 + 1);
    for (TextLine line; reader.next(line);) {
      if (line.text.empty()) continue;  // a carriage return alone is no word
      InputFault fault = addWord(line);
      if (fault.kind != Kind::NONE) return fault;
    }
    return checkPhysicalLines();
  }

 private:
  InputFault addWord(const TextLine& line) {
    if (!words.appendWord(line.text)) return notHexadecimalFault(reader, line);
    const std::uint64_t numBits = bitsOf(line);
    if (numBits % words.getBitsPerEbr() != 0) return indivisibleFault(line, numBits);
    const bool isMisfit = numBits % words.getRoundBits() != 0;
    summary.numWords += isMisfit ? 1 : numBits / words.getRoundBits();
    if (isMisfit && summary.numMisfits++ == 0) {
      summary.firstMisfitLine = line.number;
      summary.firstMisfitBits = numBits;
    }
    const std::uint64_t longest = physicalLineBits(words.getLongestColumnBits());
    if (fullLine == 0 && longest > PHYSICAL_LINE_BITS) fullLine = line.number;
    return {};
  }

  InputFault indivisibleFault(const TextLine& line, std::uint64_t numBits) const {
    InputFault fault = faultInLine(Kind::INDIVISIBLE_WORD, summary.file, line);
    fault.found = static_cast<std::int64_t>(numBits);
    fault.wanted = static_cast<std::int64_t>(words.getBitsPerEbr());
    return fault;
  }

  // A physical line beyond its usual length is whole bytes at some lengths only. Columns differ by
  // one group at most, so the longest and the shortest decide for all.
  InputFault checkPhysicalLines() const {
    if (fullLine == 0) return {};
    for (const std::uint64_t ebr : {words.getNumEbrs() - 1, UINT64_C(0)}) {
      const std::uint64_t length = physicalLineBits(words.getColumnBits(ebr));
      if (length <= PHYSICAL_LINE_BITS || length % 8 == 0) continue;
      InputFault fault = faultInLine(Kind::LINE_TOO_LONG, summary.file, {"", fullLine});
      fault.found = static_cast<std::int64_t>(length);
      return fault;
    }
    return {};
  }

  LineReader& reader;
  MemoryWords& words;
  MemoryFileSummary& summary;
  std::uint64_t fullLine = 0;  ///< line at which a column first filled its physical line
};

}  // namespace

InputFault readMemoryFile(LineReader& reader, MemoryWords& words, MemoryFileSummary& summary) {
  return MemoryFileParser(reader, words, summary).parse();
}

InputFault readEqualLines(LineReader& reader, MemoryWords& words, EqualLines& lines) {
  for (TextLine line; reader.next(line);) {
    if (line.text.empty()) continue;  // a carriage return alone is no word
    if (!words.appendWord(line.text)) return notHexadecimalFault(reader, line);
    if (lines.numLines++ == 0) lines.bits = bitsOf(line);
    if (bitsOf(line) == lines.bits || lines.firstOther != 0) continue;
    lines.firstOther = line.number;
    lines.otherBits = bitsOf(line);
  }
  return {};
}

std::string spellMemoryFile(const MemoryWords& words, std::uint64_t lineBits) {
  const std::uint64_t numBits = words.getBytes().size() * 8;
  std::string text;
  text.reserve(numBits / 4 + numBits / lineBits);
  for (std::uint64_t begin = 0; begin < numBits; begin += lineBits) {
    appendHexDigits(words.getBytes(), begin, begin + lineBits, text);
    text += '\n';
  }
  return text;
}
