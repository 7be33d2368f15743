// The file operations, beyond what a run asks of them.
#include <gtest/gtest.h>
#include <unistd.h>

#include "fixture.h"
#include "steps/ramgraftfiles.h"

namespace {

TEST(Files, AreAppendedAndWrittenBack) {
  std::string bytes(std::size_t{3} << 20, '0');  // more than a huge page
  for (std::size_t at = 0; at < bytes.size(); at += 999) bytes[at] = static_cast<char>(at / 999);
  runTool({bytes, "", ""});  // leaves the files
  Bitstream bitstream(0);
  EXPECT_EQ(outputOf([&] { EXPECT_TRUE(readBitFile("in.bit", bitstream)); }), "");
  bitstream.pushByte('!');
  EXPECT_EQ(outputOf([&] { EXPECT_TRUE(writeOutput("out.bit", bitstream)); }),
            "STATUS: Successfully wrote out.bit\n");
  Bitstream written(0);
  const int nextDescriptor = ::dup(STDIN_FILENO);
  ::close(nextDescriptor);
  EXPECT_TRUE(readBitFile("out.bit", written));
  EXPECT_EQ(::dup(STDIN_FILENO), nextDescriptor) << "left open";
  ::close(nextDescriptor);
  EXPECT_TRUE(std::string(written.getBytes(), written.getBytes() + written.getNumBytes()) ==
              bytes + "!");
  std::vector<std::string> lines;
  EXPECT_EQ(outputOf([&] { EXPECT_FALSE(readFileLines("no/such", lines, {})); }),
            "ERROR: Can't open file no/such\nno/such: No such file or directory\n");
  EXPECT_EQ(outputOf([&] { EXPECT_FALSE(readBitFile("no/such", written)); }),
            "ERROR: can't open file no/such\nno/such: No such file or directory\n");
}

TEST(Files, OfWidthsAreCheckedStepByStep) {
  int address = 1, data = 2;
  EXPECT_EQ(outputOf([&] { EXPECT_FALSE(parseAddrDataWidth("aw3 dw4", address, data)); }),
            "ERROR: bad .wid file, no addr/data width\n");
  EXPECT_EQ(outputOf([&] { EXPECT_FALSE(parseAddrDataWidth("dw4;aw3", address, data)); }),
            "ERROR: bad .wid file, malformed addr/data width\n");
  EXPECT_EQ(std::pair(address, data), std::pair(1, 2));
  EXPECT_FALSE(checkWidLengths({}));
  EXPECT_FALSE(checkWidLengths({"01", "01", "1"}));
}

}  // namespace
