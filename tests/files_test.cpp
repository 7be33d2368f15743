// The file operations, beyond what a run asks of them.
#include <gtest/gtest.h>

#include "fixture.h"
#include "steps/ramgraftfiles.h"

namespace {

TEST(Files, AreWrittenReadOrNamed) {
  runTool({});  // in whose folder this happens
  Bitstream bitstream(0), written(0);
  bitstream.pushByte('!');
  EXPECT_EQ(outputOf([&] { EXPECT_TRUE(writeOutput("out.bit", bitstream)); }),
            "STATUS: Successfully wrote out.bit\n");
  EXPECT_TRUE(readBitFile("out.bit", written));
  EXPECT_EQ(digitsOf(written), digitsOf(bitstream));
  std::vector<std::string> lines;
  EXPECT_EQ(outputOf([&] { EXPECT_FALSE(readFileLines("no/such", lines, {})); }),
            "ERROR: Can't open file no/such\nno/such: No such file or directory\n");
  EXPECT_EQ(outputOf([&] { EXPECT_FALSE(readBitFile("no/such", bitstream)); }),
            "ERROR: can't open file no/such\nno/such: No such file or directory\n");
}

TEST(Files, OfWidthsAreRefusedInOneLine) {
  int address = 1, data = 2;
  EXPECT_EQ(outputOf([&] { EXPECT_FALSE(parseAddrDataWidth("aw3 dw4", address, data)); }),
            "ERROR: bad .wid file, no addr/data width\n");
  EXPECT_EQ(std::pair(address, data), std::pair(1, 2));
}

}  // namespace
