#include "inputs/memoryfile.h"

#include <algorithm>

#include "base/digits.h"
#include "ebr/format.h"
#include "ebr/linelengths.h"

namespace {

using Kind = InputFault::Kind;

InputFault notHexadecimal(const std::string& fileName, const TextLine& line) {
  InputFault fault = faultInLine(Kind::NOT_HEXADECIMAL, fileName, line);
  fault.character = *std::find_if(line.text.begin(), line.text.end(),
                                  [](char digit) { return hexDigitValue(digit) < 0; });
  return fault;
}

std::uint64_t bitsOf(const TextLine& line) { return (line.text.size() + 1) / 2 * 8; }

class MemoryFileParser {
 public:
  MemoryFileParser(const std::string& memFile, MemoryWords& memoryWords,
                   MemoryFileSummary& fileSummary)
      : fileName(memFile), words(memoryWords), summary(fileSummary) {}

  InputFault parse(LineReader& reader) {
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
    if (!words.appendWord(line.text)) return notHexadecimal(fileName, line);
    const std::uint64_t numBits = bitsOf(line);
    if (numBits % words.getBitsPerEbr() != 0) return indivisible(line, numBits);
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

  InputFault indivisible(const TextLine& line, std::uint64_t numBits) const {
    InputFault fault = faultInLine(Kind::INDIVISIBLE_WORD, fileName, line);
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
      InputFault fault = faultInLine(Kind::LINE_TOO_LONG, fileName, {"", fullLine});
      fault.found = static_cast<std::int64_t>(length);
      return fault;
    }
    return {};
  }

  const std::string& fileName;
  MemoryWords& words;
  MemoryFileSummary& summary;
  std::uint64_t fullLine = 0;  ///< line at which a column first filled its physical line
};

}  // namespace

InputFault readMemoryFile(LineReader& reader, const std::string& fileName, MemoryWords& words,
                          MemoryFileSummary& summary) {
  return MemoryFileParser(fileName, words, summary).parse(reader);
}

InputFault readEqualLines(LineReader& reader, const std::string& fileName, MemoryWords& words,
                          EqualLines& lines) {
  for (TextLine line; reader.next(line);) {
    if (line.text.empty()) continue;  // a carriage return alone is no word
    if (!words.appendWord(line.text)) return notHexadecimal(fileName, line);
    if (lines.numLines++ == 0) lines.bits = bitsOf(line);
    if (bitsOf(line) == lines.bits || lines.firstOther != 0) continue;
    lines.firstOther = line.number;
    lines.otherBits = bitsOf(line);
  }
  return {};
}
