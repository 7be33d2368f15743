// EBR editing, beyond what whole runs ask of it.
#include <gtest/gtest.h>

#include <climits>

#include "fixture.h"
#include "run/ramgraft.h"

namespace {

using Lines = std::vector<std::string>;

TEST(Crc, IsThePublishedOne) { EXPECT_EQ(crc16(dataOf("123456789"), 9), 0xFEE8); }

TEST(Transform, MakesPhysicalLines) {
  const Lines words = {"A5", "3C", "", "f", "F0xx"};
  Lines lines;
  EXPECT_EQ(outputOf([&] { transformLogInitToPhy(words, 0, 8, 2, lines); }),
            "ERROR: character x is not hexadecimal!\n");
  const std::string zeros(16379, '0');
  EXPECT_TRUE(lines == (Lines{zeros + "01E3A", zeros + "1E0C5"})) << "bytes before the x";
}

TEST(ReplaceEbrData, LooksOnlyAtTheLinesItNeeds) {
  const std::pair<Lines, int> rows[] = {{{"FFFFF", "FFFFF", "FFFFF", "FFFFF", "bad"}, 1},
                                        {{"bad"}, 0}};
  for (const auto& [lines, frames] : rows) {
    Bitstream bitstream(0);
    pushDigits(bitstream, digits(0, 64) + digits(0, 64));
    BitstreamTraverser traverser(&bitstream);
    std::list<bool> written;
    int startLine = 0;
    EXPECT_TRUE(replaceEbrData(traverser, lines, startLine, frames, 1, 0, 0, written));
    EXPECT_EQ(digitsOf(written), std::string(lines.size() / 4 * 72, '1'));
    EXPECT_EQ(startLine, static_cast<int>(lines.size()));
  }
}

TEST(ReplaceEbrData, TakesAnyCursorAndCount) {
  Bitstream bitstream(0);
  pushDigits(bitstream, "101");
  BitstreamTraverser traverser(&bitstream);
  std::list<bool> list;
  int count = 0, line = 0;
  for (int i = 0; i < 5; ++i) traverser.incrementBitIndex();
  EXPECT_EQ(
      outputOf([&] {
        EXPECT_FALSE(findEbrDataSection(traverser, count, list));
        EXPECT_FALSE(replaceEbrData(traverser, {}, line, 0, 1, 0, 0, list));
      }),
      "ERROR: bitstream ends inside the 11 bits behind the EBR identifier, at bit 3\n"
      "ERROR: bitstream ends inside the EBR data: frame count 0, bits needed for payload and CRC "
      "16, bits left 0 at bit 5\n");
  const std::string before = digits(0x123456789ABCDEFU, 64);
  for (const int frames : {-1, -2, INT_MIN}) {
    Bitstream stream(0);
    pushDigits(stream, before + digits(0xFFFF, 16));
    BitstreamTraverser atEnd(&stream);
    atEnd.setBitIndex(64);
    EXPECT_TRUE(replaceEbrData(atEnd, {}, line, frames, 1, 0, 0, list));
    EXPECT_EQ(digitsOf(stream), before + spellCrc(before, 64, frames == -1 ? 24 : 0)) << frames;
  }
}

TEST(SelfCheck, ReportsWhatIsWrong) {
  Bitstream bitstream(0);
  pushDigits(bitstream, "111010");
  BitstreamTraverser traverser(&bitstream);
  EXPECT_EQ(outputOf([&] { EXPECT_FALSE(test_findBits(traverser)); }),
            "test_findBits()\nTEST ERROR: Bitindex returned 5\nTEST ERROR: newBits.size() is 5\n");
}

TEST(SkipBits, DoesNothingWhenTheCountIsNegative) {
  Bitstream bitstream(0);
  bitstream.pushByte(0xFF);
  BitstreamTraverser traverser(&bitstream);
  std::list<bool> skipped;
  std::string text;
  for (const auto& [cursor, count] : {std::pair{7, -1}, {8, -1}, {9, -2}}) {
    while (traverser.getBitIndex() < static_cast<unsigned>(cursor)) traverser.incrementBitIndex();
    traverser.skipBits(count, skipped, text);
    EXPECT_EQ(traverser.getBitIndex(), static_cast<unsigned>(cursor));
    EXPECT_EQ(digitsOf(skipped) + text, "");
  }
}

}  // namespace
