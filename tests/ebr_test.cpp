// EBR editing, beyond what whole runs ask of it.
#include <gtest/gtest.h>

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
