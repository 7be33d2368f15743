#include "inspect/known.h"

#include "companion/opening.h"
#include "inputs/loading.h"
#include "inputs/memoryfile.h"
#include "inputs/wordtext.h"
#include "layout/deal.h"
#include "layout/number.h"
#include "reports/position.h"
#include "reports/text.h"

namespace {

using std::to_string;

// Why a memory file can't be used; empty if it can.
std::string faultIn(const EqualLines& lines, const std::string& fileName, std::uint64_t wordBits) {
  if (lines.numLines == 0) return positionText(fileName) + "holds no memory words";
  if (lines.firstOther != 0) {
    return positionText(fileName, lines.firstOther) + to_string(lines.otherBits) +
           " bits, the first word's line has " + to_string(lines.bits);
  }
  if (lines.bits % wordBits != 0) {
    return "--data-width: the lines of " + fileName + " have " + to_string(lines.bits) +
           " bits, which is no multiple of " + to_string(wordBits);
  }
  return "";
}

// The words of an image, most significant byte first, without gaps.
MemoryWords packWords(const std::vector<unsigned char>& image, std::uint64_t wordBits) {
  Memory memory;
  memory.wordBits = wordBits;
  memory.order = std::endian::big;
  memory.words = image.size() / memory.wordBytes();
  const Part part = {0, memory.words, {}};
  Lane lane;
  lane.wids.resize(1);
  lane.bits = lane.bitsPerEbr = wordBits;
  return dealLane(memory, part, lane, image);
}

}  // namespace

bool readKnownLines(const std::string& fileName, std::uint64_t wordBits, KnownWords& known,
                    const Messages& messages) {
  LineReader reader(fileName, MEMORY_COMMENTS);
  EqualLines lines;
  if (!reportFault(faultOf(reader), messages) ||
      !reportFault(readEqualLines(reader, known.words, lines), messages)) {
    return false;
  }
  known.wordBits = wordBits != 0 ? wordBits : lines.bits;
  const std::string fault = faultIn(lines, fileName, known.wordBits);
  if (!fault.empty()) messages.refuse(fault);
  if (fault.empty()) known.numWords = known.words.getBytes().size() * 8 / known.wordBits;
  return fault.empty();
}

bool readKnownText(const std::string& fileName, std::uint64_t wordBits, KnownWords& known,
                   const Messages& messages) {
  ByteBuffer bytes;
  FileIdentity identity;
  if (!reportFault(loadBytes(fileName, bytes, identity), messages)) return false;
  std::vector<unsigned char> image;
  known.numWords = 0;
  const auto add = [&](const WordRun& run) {
    if (run.firstWord != known.numWords) {
      return positionText(fileName, run.line) + "word " + spellHex(run.firstWord) + " where word " +
             spellHex(known.numWords) + " must come: the words of the whole memory must be known";
    }
    known.numWords += run.words;
    known.wordBits = run.wordBits;
    image.insert(image.end(), run.bytes.begin(), run.bytes.end());
    return std::string();
  };
  const WordTextFault bad = readWordText(bytes.text(), wordBits, std::endian::big, add);
  std::string fault = bad.text;
  if (bad.line != 0) fault.insert(0, positionText(fileName, bad.line, bad.column));
  if (fault.empty() && image.empty()) fault = positionText(fileName) + "holds no words";
  if (!fault.empty()) {
    messages.refuse(fault);
    return false;
  }
  known.words = packWords(image, known.wordBits);
  return true;
}
