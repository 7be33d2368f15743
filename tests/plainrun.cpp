#include "plainrun.h"

#include <algorithm>
#include <cstdlib>

#include "fixture.h"
#include "ramgraftebr.h"
#include "ramgraftfiles.h"
#include "ramgraftmessages.h"
#include "ramgraftutil.h"

namespace {

using Lines = std::vector<std::string>;

// The physical lines, a character for every bit.
Lines spellPhysicalLines(const Lines& words, std::size_t groupBits, std::size_t numEbrs) {
  Lines columns(numEbrs);
  std::size_t cursor = numEbrs - 1, inGroup = 0;
  for (std::string word : words) {
    if (word.size() % 2 == 1) word.insert(word.begin(), '0');
    for (std::size_t i = 0; i < word.size() * 4; ++i) {
      std::string& column = columns[cursor];
      if (column.size() % 20 == 8) column += '0';
      if (column.size() % 20 == 17) column += "000";
      column += (hexDigitValue(word[i / 4]) >> (3 - i % 4) & 1) != 0 ? '1' : '0';
      if (++inGroup < groupBits) continue;
      inGroup = 0;
      cursor = (cursor + numEbrs - 1) % numEbrs;
    }
  }
  for (std::string& column : columns) {
    column.resize(std::max<std::size_t>(65536, column.size()), '0');
    std::reverse(column.begin(), column.end());
    std::string line;
    for (std::size_t i = 0; i < column.size(); i += 4) {
      const int value = (column[i] & 1) * 8 + (column[i + 1] & 1) * 4 + (column[i + 2] & 1) * 2;
      line += "0123456789ABCDEF"[value + (column[i + 3] & 1)];
    }
    column = line;
  }
  return columns;
}

// Moves the cursor behind the identifier that equals the wid.
bool findWid(BitstreamTraverser& traverser, const std::string& wid, std::size_t width,
             std::size_t& restart, std::list<bool>& list) {
  for (;;) {
    if (!findEbrAddressSection(traverser, list)) {
      printLine("ERROR : didn't find EBR address section for wid ", wid);
      return false;
    }
    if (restart == 0) restart = traverser.getBitIndex();
    if (traverser.getBitsLeft() <= std::max<std::size_t>(1, width)) {
      printLine("ERROR: ran off end of bit file looking for wid ", wid);
      return false;
    }
    std::string identifier;
    traverser.skipBits(static_cast<int>(width), list, identifier);
    if (identifier == wid) return true;
  }
}

bool run(Bitstream& bitstream, BitRanges& written) {
  Lines wids, newData, words;
  int width = 0, addrWidth = 0, dataWidth = 0, startLine = 0;
  printLine("STATUS: loading input files");
  if (!loadInputFiles("ram.wid", "words.mem", "in.bit", wids, newData, width, bitstream, addrWidth,
                      dataWidth)) {
    return false;
  }
  const int numEbrs = static_cast<int>(wids.size());
  readFileLines("words.mem", words, {'#', '/'});
  if (newData !=
      spellPhysicalLines(words, static_cast<std::size_t>(dataWidth / numEbrs), wids.size())) {
    std::abort();
  }
  printLine("STATUS: input files loaded successfully\nSTATUS: processing bitstream");
  BitstreamTraverser traverser(&bitstream);
  std::size_t restart = 0;
  for (std::size_t i = 0; i < wids.size(); ++i) {
    if (restart > 0) traverser.setBitIndex(restart - std::min<std::size_t>(restart, 100));
    std::list<bool> list;
    if (!findWid(traverser, wids[i], static_cast<std::size_t>(width), restart, list)) return false;
    printLine("STATUS: Replacing contents of EBR ID# ", wids[i], " (", std::to_string(i + 1), "/",
              std::to_string(numEbrs), ")");
    int dataCount = 0;
    if (!findEbrDataSection(traverser, dataCount, list)) return false;
    const std::size_t payload = traverser.getBitIndex();
    if (!replaceEbrData(traverser, newData, startLine, dataCount, numEbrs, addrWidth, dataWidth,
                        list)) {
      return false;
    }
    written.emplace_back(payload, traverser.getBitIndex());
  }
  return true;
}

}  // namespace

RunResult runPlainly(BitRanges& written) {
  RunResult result;
  Bitstream bitstream(0);
  result.err = outputOf(
      [&] {
        result.out = outputOf([&] {
          if (!run(bitstream, written)) return;
          printLine("STATUS: Successfully wrote out.bit");
          result.status = 0;
        });
      },
      2);
  for (std::size_t i = 0; result.status == 0 && i < bitstream.getNumBytes(); ++i) {
    result.bytes += static_cast<char>(bitstream.getByte(i));
  }
  return result;
}
