// The file operations, beyond what a run asks of them.
#include <gtest/gtest.h>

#include "fixture.h"
#include "ramgraftfiles.h"

namespace {

TEST(Files, AreAppendedAndWrittenBack) {
  std::string bytes;  // enough to be mapped
  while (bytes.size() < 600000) bytes += "0123456789" + std::to_string(bytes.size());
  runTool({bytes, "", ""});  // leaves the files
  Bitstream bitstream(0);
  EXPECT_EQ(outputOf([&] { EXPECT_TRUE(readBitFile("in.bit", bitstream)); }), "");
  bitstream.pushByte('!');
  EXPECT_EQ(outputOf([&] { EXPECT_TRUE(writeOutput("out.bit", bitstream)); }),
            "STATUS: Successfully wrote out.bit\n");
  Bitstream written(0);
  EXPECT_TRUE(readBitFile("out.bit", written));
  EXPECT_TRUE(packDigits(digitsOf(written)) == bytes + "!");
  std::vector<std::string> lines;
  EXPECT_EQ(outputOf([&] { EXPECT_FALSE(readFileLines("no/such", lines, {})); }),
            "ERROR: Can't open file no/such\n");
  EXPECT_EQ(outputOf([&] { EXPECT_FALSE(readBitFile("no/such", written)); }),
            "ERROR: can't open file no/such\n");
}

}  // namespace
