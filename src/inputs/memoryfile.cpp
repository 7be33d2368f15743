#include "inputs/memoryfile.h"

#include <algorithm>

#include "base/digits.h"
#include "base/hexwords.h"
#include "ebr/format.h"
#include "ebr/linelengths.h"

namespace {

using Kind = InputFault::Kind;

InputFault notHexadecimalFault(const std::string& file, const TextLine& line) {
  InputFault fault = faultInLine(Kind::NOT_HEXADECIMAL, file, line);
  fault.character = *std::find_if(line.text.begin(), line.text.end(),
                                  [](char digit) { return hexDigitValue(digit) < 0; });
  return fault;
}

std::uint64_t bitsOf(const TextLine& line) { return (line.text.size() + 1) / 2 * 8; }

class MemoryFileParser {
 public:
  MemoryFileParser(const std::string& file, MemoryWords& memoryWords,
                   MemoryFileSummary& fileSummary)
      : words(memoryWords), summary(fileSummary) {
    summary.file = file;
  }

  InputFault addLine(const TextLine& line) {
    if (line.text.empty()) return {};  // a carriage return alone is no word
    if (!words.appendWord(line.text)) return notHexadecimalFault(summary.file, line);
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

  // What is wrong with the lines as a whole. A physical line beyond its usual length is whole bytes
  // at some lengths only. Columns differ by one group at most, so the longest and the shortest
  // decide for all.
  InputFault finish() const {
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

 private:
  InputFault indivisibleFault(const TextLine& line, std::uint64_t numBits) const {
    InputFault fault = faultInLine(Kind::INDIVISIBLE_WORD, summary.file, line);
    fault.found = static_cast<std::int64_t>(numBits);
    fault.wanted = static_cast<std::int64_t>(words.getBitsPerEbr());
    return fault;
  }

  MemoryWords& words;
  MemoryFileSummary& summary;
  std::uint64_t fullLine = 0;  ///< line at which a column first filled its physical line
};

}  // namespace

InputFault readMemoryFile(LineReader& reader, MemoryWords& words, MemoryFileSummary& summary) {
  const struct stat& status = reader.getResult().status;  // a pipe's size is 0
  words.reserve(static_cast<std::uint64_t>(status.st_size) / 2 + 1);
  MemoryFileParser parser(reader.getFileName(), words, summary);
  for (TextLine line; reader.next(line);) {
    InputFault fault = parser.addLine(line);
    if (fault.kind != Kind::NONE) return fault;
  }
  return parser.finish();
}

InputFault readMemoryLines(const std::vector<std::string>& lines, const std::string& name,
                           MemoryWords& words, MemoryFileSummary& summary) {
  MemoryFileParser parser(name, words, summary);
  std::uint64_t number = 0;
  for (const std::string& line : lines) {
    InputFault fault = parser.addLine({line, ++number});
    if (fault.kind != Kind::NONE) return fault;
  }
  return parser.finish();
}

InputFault readEqualLines(LineReader& reader, MemoryWords& words, EqualLines& lines) {
  for (TextLine line; reader.next(line);) {
    if (line.text.empty()) continue;  // a carriage return alone is no word
    if (!words.appendWord(line.text)) return notHexadecimalFault(reader.getFileName(), line);
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
