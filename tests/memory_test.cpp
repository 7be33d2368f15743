// Grafting in memory.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <thread>

#include "fixture.h"
#include "run/ramgraft.h"
#include "steps/ramgraftutil.h"

namespace {

using Bytes = std::vector<unsigned char>;
using Texts = std::vector<std::string>;

Bytes bytesOf(const std::string& text) { return {text.begin(), text.end()}; }

// An EBR of one frame, and the beginning of one that is cut off.
const std::string STREAM = packDigits(digits(0xFF, 8) + ebrDigits("000000101", 1, "0") +
                                      ebrDigits("000000110", 2, "0").substr(0, 150));

TEST(InMemory, ReportsEachEbr) {
  const RunFiles files = {STREAM, "0b000000101\naw1;dw8\n", "5C\nF0\n"};
  Bytes bytes = bytesOf(STREAM);
  const MemoryGraft graft = graftInMemory(bytes, {"0b000000101"}, 8, {"5C", "", "F0"});
  EXPECT_EQ(graft.error, "");
  EXPECT_EQ(bytes, bytesOf(runTool(files).bytes));
  ASSERT_EQ(graft.ebrs.size(), 1);
  const EbrReport& ebr = graft.ebrs[0];
  EXPECT_EQ(ebr.identifier + ebr.error + ebr.oldCrc, "000000101empty");
  EXPECT_EQ(std::tuple(ebr.bitIndex, ebr.frameCount, ebr.givenWords, ebr.writtenWords),
            std::tuple(8, 1, 2, 8));
  EXPECT_TRUE(ebr.warnings.empty() && graft.warnings.empty());
  const MemoryGraft again = graftInMemory(bytes, {"000000101"}, 8, Texts(9, "A5"));
  EXPECT_EQ(again.ebrs[0].oldCrc + std::to_string(again.ebrs[0].givenWords), "right9");
  EXPECT_EQ(again.ebrs[0].writtenWords + again.ebrs[0].warnings.size(), 8 + 1);
}

TEST(InMemory, WarnsOfAnEbrThatContentsHide) {
  Bytes bytes = bytesOf(packDigits(digits(0xFF, 8) + ebrDigits("000000110", 1, "0") +
                                   ebrDigits("000000101", 1, "0") + digits(UINT64_MAX, 64)));
  const MemoryGraft graft = graftInMemory(bytes, {"000000101", "000000110"}, 16,
                                          {"6F11", "0022", "0033", "0044", "0055", "A066"});
  EXPECT_EQ(graft.error, "");
  EXPECT_EQ(graft.warnings.size(), 1);
}

TEST(InMemory, WarnsOfCrcsThatCoverEachOther) {
  std::size_t numWarned = 0;
  for (unsigned offset = 1; offset < 8; ++offset) {
    Bytes bytes = bytesOf(packDigits(digits(0x7F, offset) + ebrDigits("000000101", 1, "0") +
                                     ebrDigits("000000110", 1, "0")));
    const Texts wids = {"000000110", "000000101"};  // the later one first
    numWarned += graftInMemory(bytes, wids, 16, {"5CF0", "A5A5"}).warnings.size();
  }
  EXPECT_GT(numWarned, 0);
}

TEST(InMemory, SaysWhyItChangesNothing) {
  const struct {
    Texts wids;
    int dataWidth;
    Texts words;
    std::string error;
    std::size_t numReports = 0;
  } rows[] = {
      // clang-format off
      {{}, 8, {}, "there are no wids"},
      {{"101", "0b101"}, 8, {}, "wids, line 2: this wid's length differs from that of the first, 3"},
      {{"101", "110"}, -1, {}, "data width: a data width of -1 bits can't be shared out among 2 EBRs"},
      {{"101", "110"}, 1, {}, "data width: a data width of 1 bits can't be shared out among 2 EBRs"},
      {{"101"}, 8, {"5C", "5x"}, "words, line 2: not a hexadecimal word: 5x"},
      {{"101"}, 3, {"5C"}, "words, line 1: a memory word of 8 bits can't be split into groups of 3 bits"},
      {{"0b"}, 8, {"5C"}, "EBR  at bit 8: no TAV_EBR_WRITE", 1},
      {{"000000101", "000000111"}, 8, {"5C"}, "EBR 000000111 isn't in the bitstream", 2},
      {{"000000101", "000000110"}, 8, {"5C"}, "EBR 000000110 at bit 192: the bitstream ends inside the payload", 2},
      // clang-format on
  };
  for (const auto& row : rows) {
    Bytes bytes = bytesOf(STREAM);
    const MemoryGraft graft = graftInMemory(bytes, row.wids, row.dataWidth, row.words);
    EXPECT_EQ(graft.error, row.error);
    EXPECT_EQ(graft.ebrs.size(), row.numReports) << row.error;
    EXPECT_EQ(bytes, bytesOf(STREAM)) << row.error;
  }
  Bytes none;
  EXPECT_EQ(graftInMemory(none, {"1"}, 8, {}).error, "EBR 1 isn't in the bitstream");
}

// For the thread sanitizer, which reports what the threads share. Each also prints a line that gets
// lost, the one thing that the library remembers.
TEST(InMemory, IsGraftedByTwoThreads) {
  const int output = ::dup(STDOUT_FILENO), full = ::open("/dev/full", O_WRONLY);
  ::dup2(full, STDOUT_FILENO);
  Bytes results[2];
  const auto work = [&](unsigned seed) {
    std::vector<unsigned char> none;
    EXPECT_FALSE(hexStringToBytes("Z", none));
    Bytes bytes = bytesOf(STREAM);
    for (int round = 0; round < 100; ++round) {
      EXPECT_TRUE(graftInMemory(bytes, {"000000101"}, 8, Texts(8, digits(seed, 8))).isDone());
    }
    results[seed] = bytes;
  };
  std::thread first(work, 0), second(work, 1);
  first.join();
  second.join();
  ::dup2(output, STDOUT_FILENO);
  ::close(output);
  ::close(full);
  EXPECT_NE(results[0], results[1]);
}

}  // namespace
