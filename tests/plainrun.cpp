// The yardstick: a run put together from the public operations. It scans the stream afresh for
// every wid, bit by bit into a list, goes by way of physical lines, and spells out itself what
// the payload, the CRC, the warnings, and the bits read and written must be.
#include <algorithm>

#include "console/lines.h"
#include "fixture.h"
#include "steps/ramgraftebr.h"
#include "steps/ramgraftfiles.h"
#include "steps/ramgraftutil.h"

namespace {

using Lines = std::vector<std::string>;

// The data bits that each EBR receives.
Lines dealOut(const Lines& words, std::size_t groupBits, std::size_t numEbrs) {
  std::string row;
  for (const std::string& word : words) {
    for (const char digit : std::string(word.size() % 2, '0') + word) {
      row += digits(std::stoul(std::string(1, digit), nullptr, 16), 4);
    }
  }
  Lines columns(numEbrs);
  for (std::size_t i = 0; i < row.size(); ++i) {
    columns[numEbrs - 1 - i / groupBits % numEbrs] += row[i];
  }
  return columns;
}

// Payload words: a 0 bit, then eight data bits, the last one first.
std::string spellPayload(const std::string& column, std::size_t numWords) {
  std::string payload;
  for (std::size_t i = 0; i < numWords * 9; ++i) {
    const std::size_t bit = i / 9 * 8 + (8 - i % 9);
    payload += i % 9 > 0 && bit < column.size() ? column[bit] : '0';
  }
  return payload;
}

bool run(Bitstream& bitstream) {
  Lines wids, newData, words;
  int width = 0, addrWidth = 0, dataWidth = 0, startLine = 0;
  printLine("STATUS: loading input files");
  if (!loadInputFiles("ram.wid", "words.mem", "in.bit", wids, newData, width, bitstream, addrWidth,
                      dataWidth)) {
    return false;
  }
  const int numEbrs = static_cast<int>(wids.size());
  readFileLines("words.mem", words, {'#', '/'});
  const Lines columns = dealOut(words, static_cast<unsigned>(dataWidth / numEbrs), wids.size());
  printLine("STATUS: input files loaded successfully\nSTATUS: processing bitstream");
  BitstreamTraverser traverser(&bitstream);
  std::size_t restart = 0;
  for (std::size_t i = 0; i < wids.size(); ++i) {
    if (restart > 0) traverser.setBitIndex(restart - std::min<std::size_t>(restart, 100));
    const std::size_t start = traverser.getBitIndex();
    std::list<bool> list;
    const Outcome outcome =
        findAfresh(traverser, wids[i], static_cast<std::size_t>(width), list, restart);
    if (outcome == Outcome::NO_SECTION) {
      printLine("ERROR : didn't find EBR address section for wid ", wids[i]);
    } else if (outcome == Outcome::RAN_OFF_END) {
      printLine("ERROR: ran off end of bit file looking for wid ", wids[i]);
    }
    if (outcome != Outcome::FOUND) return false;
    printLine("STATUS: Replacing contents of EBR ID# ", wids[i], " (", std::to_string(i + 1), "/",
              std::to_string(numEbrs), ")");
    int dataCount = 0;
    if (!findEbrDataSection(traverser, dataCount, list)) return false;

    std::string expected = digitsOf(bitstream);
    const int numBits = 72 * dataCount;
    const std::size_t payload = traverser.getBitIndex();
    const std::size_t end = payload + static_cast<std::size_t>(numBits);
    const std::size_t capacity = std::min((end - payload) / 9, newData[i].size() / 5 * 2);
    const std::size_t numWords = (columns[i].size() + 7) / 8;
    if (end + 16 <= expected.size()) {
      const std::string found = expected.substr(end, 16);
      const std::string right = spellCrc(expected, end, numBits + 96);
      std::string text = ": the CRC of the old contents is 0x";
      binaryStringToHex(found, text);
      binaryStringToHex(right, text += ", should be 0x");
      text += ": the bitstream may be damaged, or the wid file may not fit it";
      // A bit of the field itself.
      const bool isIncluded = end % 8 == 7 && end + 1 >= static_cast<std::size_t>(numBits) + 96;
      if (found != right && found != digits(0, 16) && !isIncluded)
        printWarning("wid ", wids[i], text);
      text = " words of 8 bits, the EBR takes " + std::to_string(capacity);
      if (numWords > capacity) {
        printWarning("wid ", wids[i], ": the memory file gives ", std::to_string(numWords), text,
                     ": the rest is not written");
      }
    }
    if (!replaceEbrData(traverser, newData, startLine, dataCount, numEbrs, 0, 0, list)) {
      return false;
    }
    const std::string actual = digitsOf(bitstream);
    expected.replace(payload, capacity * 9, spellPayload(columns[i], capacity));
    expected.replace(end, 16, spellCrc(expected, end, numBits + 96));
    require(actual == expected);
    require(digitsOf(list) == actual.substr(start, payload + capacity * 9 - start));
  }
  printLine("STATUS: Successfully wrote out.bit");
  return true;
}

}  // namespace

std::string spellCrc(const std::string& stream, std::size_t end, int numBits) {
  const int start = static_cast<int>(end) - numBits + 1;
  if (start < 0 || numBits < 8) return digits(0, 16);
  unsigned crc = 0;
  const auto firstByte = static_cast<std::size_t>(start / 8);
  for (const char bit : stream.substr(firstByte * 8, static_cast<std::size_t>(numBits / 8) * 8)) {
    crc = (crc << 1 ^ (crc >> 15 ^ (bit == '1' ? 1U : 0U)) * 0x8005) & 0xFFFF;
  }
  return digits(crc, 16);
}

Outcome findAfresh(BitstreamTraverser& traverser, const std::string& wid, std::size_t width,
                   std::list<bool>& newBits, std::size_t& restart) {
  while (findEbrAddressSection(traverser, newBits)) {
    if (restart == 0) restart = traverser.getBitIndex();
    if (traverser.getBitsLeft() <= std::max<std::size_t>(1, width)) {
      return Outcome::RAN_OFF_END;
    }
    std::string identifier;
    traverser.skipBits(static_cast<int>(width), newBits, identifier);
    if (identifier == wid) return Outcome::FOUND;
  }
  return Outcome::NO_SECTION;
}

RunResult runPlainly() {
  Bitstream bitstream(0);
  bool isWritten = false;
  const std::string text = outputOf([&] { isWritten = run(bitstream); });
  return {text + (isWritten ? "0" : "1"), isWritten ? packDigits(digitsOf(bitstream)) : ""};
}
