#include "steps/ramgraftfiles.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

#include "base/assertion.h"
#include "console/lines.h"
#include "ebr/columns.h"
#include "ebr/format.h"
#include "files/replace.h"
#include "steps/ramgraftutil.h"

namespace {

constexpr std::string_view NO_COMMENTS;
constexpr std::string_view MEMORY_COMMENTS = "#/";

// The two kinds of file say the same thing in their own words.
constexpr std::string_view CANT_OPEN_TEXT_FILE = "ERROR: Can't open file ";
constexpr std::string_view CANT_OPEN_BIT_FILE = "ERROR: can't open file ";

// Whether the file was read; prints the ERROR line when it wasn't.
bool checkRead(const std::string& fileName, const ReadResult& result, std::string_view cantOpen) {
  switch (result.outcome) {
    case ReadResult::Outcome::DONE:
      return true;
    case ReadResult::Outcome::CANT_OPEN:
      printLine(cantOpen, fileName);
      return false;
    case ReadResult::Outcome::CANT_READ:
      printLine("ERROR: can't read file ", fileName, ": ", std::strerror(result.error));
      return false;
    case ReadResult::Outcome::CHANGED:
      break;
  }
  printLine("ERROR: can't read file ", fileName, ": it was changed while in use");
  return false;
}

bool checkRead(const std::string& textFile, const LineReader& reader) {
  return checkRead(textFile, reader.getResult(), CANT_OPEN_TEXT_FILE);
}

// Sets `status` to that of the file before it was read.
bool loadBitFile(const std::string& fileName, Bitstream& bitstream, struct stat& status) {
  ByteBuffer bytes;
  const ReadResult result = readOrMapWholeFile(fileName, bytes);
  status = result.status;
  if (!checkRead(fileName, result, CANT_OPEN_BIT_FILE)) return false;
  bitstream.pushBytes(std::move(bytes));
  return true;
}

// "FILE, line N: ", the place that an error line names.
std::string placeOf(const std::string& fileName, std::uint64_t lineNumber) {
  return fileName + ", line " + std::to_string(lineNumber) + ": ";
}

int toInt(std::string_view number) {
  return static_cast<int>(std::strtol(std::string(number).c_str(), nullptr, 10));
}

// The last line of a width file.
struct WidthLine {
  std::string text;
  std::uint64_t number = 0;
};

// Reads the wids and the width line.
bool readWidFile(const std::string& fileName, std::vector<std::string>& wids, WidthLine& last) {
  LineReader reader(fileName, NO_COMMENTS);
  std::uint64_t firstOtherLength = 0;  // line number of the first wid that isn't like the first
  for (TextLine line; reader.next(line);) {
    if (firstOtherLength == 0 && !wids.empty() && wids.back().size() != wids.front().size()) {
      firstOtherLength = last.number;
    }
    wids.emplace_back(line.text);
    last.number = line.number;
  }
  if (!checkRead(fileName, reader)) return false;
  if (wids.empty()) {
    printLine("ERROR: empty wid file!");
    return false;
  }
  last.text = std::move(wids.back());
  wids.pop_back();
  if (checkWidLengths(wids)) return true;
  printLine("ERROR: wid lengths must all be the same!");
  if (wids.empty()) {
    printDiagnosticPieces({fileName, ": no wid stands before the last line"});
  } else {
    printDiagnosticPieces({placeOf(fileName, firstOtherLength), "this wid's length differs from ",
                           "that of the first, ", std::to_string(wids.front().size())});
  }
  return false;
}

// Puts the lines of a memory file into EbrContents and checks them on the way.
class MemoryFileParser {
 public:
  MemoryFileParser(const std::string& memFile, EbrContents& ebrContents)
      : fileName(memFile), contents(ebrContents) {}

  bool parse(LineReader& reader) {
    const struct stat& status = reader.getResult().status;  // a pipe's size is 0
    contents.reserve(static_cast<std::uint64_t>(status.st_size) / 2 + 1);
    for (TextLine line; reader.next(line);) {
      if (!addWord(line)) return false;
    }
    return checkRead(fileName, reader) && checkColumnLengths();
  }

  void warnOfMisfits(int addrWidth) const {
    if (numWords == 0) {
      printWarning(fileName, ": holds no memory words: the listed EBRs are filled with zeros");
    }
    if (numMisfits > 0) {
      printWarning(firstMisfitPlace, std::to_string(numMisfits), " of ", std::to_string(numWords),
                   numMisfits == 1 ? " memory words has " : " memory words have ",
                   "another number of bits than the EBRs share out (the first ",
                   std::to_string(firstMisfitBits), ", the EBRs ", std::to_string(sharedBits()),
                   "), which can spread words over the wrong EBRs");
    }
    const std::uint64_t addressed = addrWidth < 0 ? 0 : UINT64_C(1) << std::min(addrWidth, 63);
    if (numWords > addressed) {
      printWarning(fileName, ": ", std::to_string(numWords), " memory words, but an address of ",
                   std::to_string(addrWidth), " bits reaches only ", std::to_string(addressed));
    }
  }

 private:
  std::uint64_t sharedBits() const { return contents.getNumEbrs() * contents.getBitsPerEbr(); }

  bool addWord(const TextLine& line) {
    if (line.text.empty()) return true;  // a lone carriage return is no word
    if (!contents.appendWord(line.text)) {
      for (const char digit : line.text) {
        if (hexDigitValue(digit) < 0) {
          reportNotHexadecimal(digit);
          break;
        }
      }
      printLine("ERROR: ", placeOf(fileName, line.number), "not a hexadecimal word: ", line.text);
      return false;
    }
    ++numWords;
    const std::uint64_t numBits = (line.text.size() + 1) / 2 * 8;
    if (numBits % contents.getBitsPerEbr() != 0) {
      printLine("ERROR: ", placeOf(fileName, line.number), "a memory word of ",
                std::to_string(numBits), " bits can't be split into groups of ",
                std::to_string(contents.getBitsPerEbr()), " bits");
      return false;
    }
    if (numBits != sharedBits() && numMisfits++ == 0) {
      firstMisfitPlace = placeOf(fileName, line.number);
      firstMisfitBits = numBits;
    }
    if (fullLine == 0 && columnLength(contents.getLongestColumnBits()) > COLUMN_LENGTH) {
      fullLine = line.number;
    }
    return true;
  }

  // A column beyond the usual length is only whole bytes of a physical line at some lengths.
  bool checkColumnLengths() const {
    if (fullLine == 0) return true;
    for (std::uint64_t ebr : {contents.getNumEbrs() - 1, UINT64_C(0)}) {
      const std::uint64_t length = columnLength(contents.getColumnBits(ebr));
      if (length <= COLUMN_LENGTH || length % 8 == 0) continue;
      printLine("ERROR: ", placeOf(fileName, fullLine), "from here on an EBR gets more than the ",
                std::to_string(COLUMN_LENGTH), " bits of its physical line, in all ",
                std::to_string(length), ", which is no multiple of 8");
      return false;
    }
    return true;
  }

  const std::string& fileName;
  EbrContents& contents;
  std::uint64_t numWords = 0;
  std::uint64_t numMisfits = 0;  ///< words with other than sharedBits() bits
  std::string firstMisfitPlace;
  std::uint64_t firstMisfitBits = 0;
  std::uint64_t fullLine = 0;  ///< line at which a column first passed COLUMN_LENGTH
};

}  // namespace

// The characters come by value because callers may rely on handing over a copy.
bool readFileLines(const std::string& fileName, std::vector<std::string>& lines,
                   std::vector<char> commentChars) {  // NOLINT(performance-unnecessary-value-param)
  LineReader reader(fileName, std::string_view(commentChars.data(), commentChars.size()));
  const std::size_t before = lines.size();
  for (TextLine line; reader.next(line);) lines.emplace_back(line.text);
  if (checkRead(fileName, reader)) return true;
  lines.resize(before);
  return false;
}

bool checkWidLengths(const std::vector<std::string>& wids) {
  for (const std::string& wid : wids) {
    if (wid.size() != wids.front().size()) return false;
  }
  return !wids.empty();
}

bool parseAddrDataWidth(const std::string& line, int& addrWidth, int& dataWidth) {
  constexpr std::size_t NONE = std::string::npos;
  const std::size_t addrKey = line.find("aw");
  const std::size_t dataKey = line.find("dw");
  const std::size_t semicolon = line.find(';');
  if (addrKey == NONE || dataKey == NONE || semicolon == NONE) {
    printLine("ERROR: bad .wid file, no addr/data width");
    return false;
  }
  const std::size_t addrStart = addrKey + 2;
  const std::size_t dataStart = dataKey + 2;
  if (addrStart >= line.size() || addrStart > dataStart) {
    printLine("ERROR: bad .wid file, malformed addr/data width");
    return false;
  }
  const std::string_view text = line;
  // A semicolon in front of the key ends nothing.
  const std::size_t addrLength = semicolon < addrStart ? NONE : semicolon - addrStart;
  addrWidth = toInt(text.substr(addrStart, addrLength));
  dataWidth = toInt(text.substr(dataStart));
  return true;
}

bool normalizeWids(std::vector<std::string>& wids, int& widLength) {
  for (std::string& wid : wids) {
    if (wid.find("0b") != std::string::npos) wid.erase(0, 2);
  }
  widLength = static_cast<int>(wids.front().size());
  return true;
}

bool loadRunInputs(const std::string& widFile, const std::string& memFile,
                   const std::string& bitFile, RunInputs& inputs, Bitstream& bitstream) {
  WidthLine widthLine;
  if (!readWidFile(widFile, inputs.wids, widthLine)) return false;
  {
    LineReader memoryText(memFile, MEMORY_COMMENTS);
    if (!checkRead(memFile, memoryText)) return false;
    if (!parseAddrDataWidth(widthLine.text, inputs.addrWidth, inputs.dataWidth)) {
      printDiagnosticPieces({placeOf(widFile, widthLine.number), widthLine.text});
      return false;
    }
    normalizeWids(inputs.wids, inputs.widLength);
    const std::uint64_t numEbrs = inputs.wids.size();
    if (inputs.dataWidth < 1 || static_cast<std::uint64_t>(inputs.dataWidth) < numEbrs) {
      printLine("ERROR: ", placeOf(widFile, widthLine.number), "a data width of ",
                std::to_string(inputs.dataWidth), " bits can't be shared out among ",
                std::to_string(numEbrs), " EBRs");
      return false;
    }
    EbrContents& contents =
        inputs.contents.emplace(numEbrs, static_cast<std::uint64_t>(inputs.dataWidth) / numEbrs);
    MemoryFileParser parser(memFile, contents);
    if (!parser.parse(memoryText)) return false;
    parser.warnOfMisfits(inputs.addrWidth);
  }
  return loadBitFile(bitFile, bitstream, inputs.bitFile);
}

bool loadInputFiles(const std::string& widFile, const std::string& memFile,
                    const std::string& bitFile, std::vector<std::string>& wids,
                    std::vector<std::string>& newData, int& widLength, Bitstream& bitstream,
                    int& addrWidth, int& dataWidth) {
  RunInputs inputs;
  const bool isLoaded = loadRunInputs(widFile, memFile, bitFile, inputs, bitstream);
  widLength = inputs.widLength;
  addrWidth = inputs.addrWidth;
  dataWidth = inputs.dataWidth;
  if (isLoaded) {
    EbrColumns columns(*inputs.contents);
    for (std::uint64_t ebr = 0; ebr < inputs.wids.size(); ++ebr) {
      newData.push_back(makePhysicalLine(columns, ebr));
    }
  }
  wids = std::move(inputs.wids);
  return isLoaded;
}

bool readBitFile(const std::string& fileName, Bitstream& bitstream) {
  struct stat status {};
  return loadBitFile(fileName, bitstream, status);
}

bool writeOutput(const std::string& fileName, Bitstream& bitstream) {
  return writeOutput(fileName, bitstream, InputFile{});
}

bool writeOutput(const std::string& fileName, const Bitstream& bitstream,
                 const InputFile& original) {
  assertThat(bitstream.isByteAligned(), "bool writeOutput(const string&, Bitstream&)",
             "bitstream.isByteAligned()");
  const SignalHold signals;  // until the line is printed that tells what became of the file
  const int error =
      replaceFile(fileName, bitstream.getBytes(), bitstream.getNumBytes(), original, signals);
  if (error == 0) {
    printLine("STATUS: Successfully wrote ", fileName);
    return true;
  }
  if (error == EFAULT || error == ORIGINAL_CHANGED) {
    printLine("ERROR: can't read file ", original.name, ": it was ",
              error == EFAULT ? "cut short" : "changed", " while in use");
    return false;
  }
  printLine("ERROR: Can't write file ", fileName);
  printDiagnosticPieces({fileName, ": ", std::strerror(error)});
  return false;
}
