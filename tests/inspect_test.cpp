// ramgraft-inspect: what its subcommands promise about each other and about a run, and the real
// binary as a user runs it.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <fstream>
#include <numeric>

#include "base/hexwords.h"
#include "ebr/columns.h"
#include "ebr/payload.h"
#include "fixture.h"
#include "inspected.h"

namespace {

const std::string STREAM = packDigits(digits(0xFF, 8) + ebrDigits("000000101", 1, "0"));
const RunFiles SMALLEST = {STREAM, "0b000000101\naw1;dw8\n", "5C\nF0\n"};

// A memory that fills EBRs of two frames, in a stream in which they have another order.
struct Memory {
  RunFiles files;
  std::string dataWidth;
};

Memory makeMemory(std::mt19937_64& random, std::size_t numEbrs, std::size_t bitsPerEbr) {
  const std::size_t numWords = 128 / bitsPerEbr, wordBits = numEbrs * bitsPerEbr;
  std::vector<std::string> wids(numEbrs);
  for (std::size_t i = 0; i < numEbrs; ++i) wids[i] = digits(i + 1, 11);
  std::string stream = digits(0, random() % 8);
  for (const std::string& wid : wids) stream += ebrDigits(wid, 2, digits(random(), 64));
  std::ranges::shuffle(wids, random);
  Memory memory{{packDigits(stream), "", ""}, std::to_string(wordBits)};
  for (const std::string& wid : wids) memory.files.wid += "0b" + wid + "\n";
  memory.files.wid +=
      "aw" + std::to_string(std::countr_zero(numWords)) + ";dw" + memory.dataWidth + "\n";
  const std::size_t lineDigits = std::lcm(wordBits, 8U) / 4;
  for (std::size_t i = 1; i <= numWords * wordBits / 4; ++i) {
    memory.files.mem += "0123456789ABCDEF"[random() % 16];
    if (i % lineDigits == 0) memory.files.mem += '\n';
  }
  return memory;
}

TEST(Inspect, TakesOutAndLocatesWhatWasGrafted) {
  std::mt19937_64 random(1);
  for (const unsigned numEbrs : {1U, 2U, 3U, 5U, 16U, 70U, 1000U}) {
    for (const unsigned bitsPerEbr : {1U, 2U, 4U, 8U, 16U}) {
      const Memory memory = makeMemory(random, numEbrs, bitsPerEbr);
      const std::string name = std::to_string(numEbrs) + " EBRs, bits: " + memory.dataWidth;
      ASSERT_EQ(runTool(memory.files).text.back(), '0');
      // There may be warnings: bytes that a CRC covers can have bits of the EBR before.
      EXPECT_EQ(inspect({"extract", "-o", "new", "out.bit", "ram.wid"}).back(), '0') << name;
      EXPECT_EQ(contentsOf("new"), memory.files.mem) << name;
      const std::string note = "NOTE: out.bit: taking identifiers of 11 bits";
      const std::string said = inspect({"locate", "--data-width", memory.dataWidth.c_str(), "-o",
                                        "new", "out.bit", "words.mem"});
      EXPECT_TRUE(said.starts_with(note) && said.ends_with("\n0")) << name << said;
      EXPECT_EQ(contentsOf("new"), memory.files.wid) << name;
    }
  }
}

TEST(Inspect, KeepsItsLawsOverRandomRuns) {
  std::mt19937_64 random(2);
  for (int i = 0; i < 1000; ++i) {
    const RunFiles files = randomRun(random);
    const std::string broken = brokenLaw(files);
    ASSERT_EQ(broken, "") << "run " << i;
  }
}

TEST(Inspect, ReadsBackWhatIsWritten) {
  std::mt19937_64 random(3);
  for (const auto& [numEbrs, bitsPerEbr, numBytes] :
       {std::tuple{1, 1, 1}, {1, 8, 600}, {3, 5, 15}, {3, 12, 63}, {7, 64, 112}, {2, 100, 75}}) {
    MemoryWords words(static_cast<unsigned>(numEbrs), static_cast<unsigned>(bitsPerEbr));
    std::vector<unsigned char> bytes(static_cast<unsigned>(numBytes));
    for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random());
    words.appendBytes(bytes);
    MemoryWords copy(words.getNumEbrs(), words.getBitsPerEbr());
    copy.appendZeros(bytes.size());
    EbrColumns columns(words);
    for (std::uint64_t ebr = 0; ebr < words.getNumEbrs(); ++ebr) {
      const auto column = columns.get(ebr);
      const std::uint64_t offset = random() % 16, size = column.size() - random() % 8;
      Bitstream bitstream(0);
      pushDigits(bitstream, digits(UINT64_MAX, 16 + offset) + std::string(column.size() * 9, '1'));
      writePayload(bitstream, offset, column, size);
      bitstream.addBit(true, offset);
      std::vector<unsigned char> read(column.size());
      EXPECT_EQ(readPayload(bitstream, offset, std::span(read).first(size)), size == 0 ? 0U : 1U);
      EXPECT_TRUE(std::equal(read.begin(), read.begin() + static_cast<int>(size), column.begin()));
      for (std::uint64_t i = 0; i < column.size(); ++i) {
        EXPECT_EQ(frameDataBits(words, ebr, i / 8) >> i % 8 * 8 & 0xFF, column[i]);
      }
      putColumn(copy, ebr, column);
    }
    EXPECT_TRUE(std::ranges::equal(copy.getBytes(), words.getBytes())) << bitsPerEbr;
    for (std::uint64_t begin = 0; begin < 9; ++begin) {
      std::string text, expected;
      for (const unsigned char byte : bytes) expected += digits(byte, 8);
      appendHexDigits(words.getBytes(), std::min<std::uint64_t>(begin, 8), bytes.size() * 8, text);
      expected.erase(0, begin);
      EXPECT_EQ(digitsOfHex(text).substr(text.size() * 4 - expected.size()), expected);
    }
  }
}

TEST(Inspect, SaysWhatIsWrongWithAFileAndWhere) {
  const std::string tooLong = "#\n" + std::string(16002, 'A') + "\n12";
  const std::tuple<const char*, std::string, const char*> rows[] = {
      {"", "5C", "ram.wid: the width file is empty"},
      {"aw9;dw8", "5C", "ram.wid: no wid before the last line"},
      {"0\n01\naw9;dw8", "5C",
       "ram.wid, line 2: this wid's length differs from that of the first, 1"},
      {"0\naw9 dw8", "5C", "ram.wid, line 2: no line of widths like aw10;dw8: aw9 dw8"},
      {"0\n1\naw9;dw1", "5C",
       "ram.wid, line 3: a data width of 1 bits can't be shared out among 2 EBRs"},
      {"0\naw9;dw8", "XY", "words.mem, line 1: not a hexadecimal word: XY"},
      {"0\naw9;dw9", "5C",
       "words.mem, line 1: a memory word of 8 bits can't be split into groups of 9 bits"},
      {"0\naw9;dw8", tooLong,
       "words.mem, line 2: from here on an EBR gets more bits than one can take, in all 80017"},
  };
  for (const auto& [wid, mem, fault] : rows) {
    runTool({STREAM, wid, mem});  // leaves the files
    const std::string said = inspect({"verify", "in.bit", "ram.wid", "words.mem"});
    EXPECT_EQ(said, std::string("ERROR: ") + fault + "\n2");
  }
}

// Runs the real binary in a shell. What it prints, standard error first, and its status.
std::string runBinary(const std::string& arguments) {
  const std::string command = std::string("'") + RAMGRAFT_INSPECT_BINARY + "' " + arguments;
  int status = 0;
  const std::string text = outputOf([&] { status = std::system(command.c_str()); });
  return text + std::to_string(WEXITSTATUS(status));
}

TEST(Inspect, PrintsWhatItFinds) {
  runTool(SMALLEST);  // leaves the files for the binary
  std::ofstream("others.bit") << STREAM << STREAM << packDigits(digits(0xF6, 8) + digits(6, 45));
  std::ofstream("cut.bit") << STREAM.substr(0, 23);
  std::ofstream("none.bit") << "no sections";
  std::ofstream("outside.bit") << '\xFE' << STREAM.substr(1, 7) << '\1' << STREAM.substr(9);
  std::ofstream("ones.bit") << packDigits(ebrDigits("000000101", 1, "1"));
  std::ofstream overlapping("overlapping.bit");
  const std::string header = packDigits(ebrDigits("000000101", 0xFFFF, "0").substr(0, 96));
  for (int i = 0; i < 600; ++i) overlapping << header;
  overlapping << std::string(600'000, '\0') << std::flush;
  std::ofstream("two.mem") << "5C\n5CF0\n";
  std::ofstream("zeros.mem") << "0000\n";
  std::ofstream("equal.bit") << packDigits(ebrDigits("0101", 1, "0") + ebrDigits("0110", 1, "0"));
  const std::string end = "; ramgraft-inspect --help explains\n2";
  const std::string note =
      "NOTE: in.bit: taking identifiers of 9 bits, which give the most EBRs (1); "
      "--id-bits N says otherwise\n";
  const std::pair<const char*, std::string> rows[] = {
      // clang-format off
      {"list --json out.bit 2>/dev/null", R"({"file": "out.bit", "bytes": 24, "identifierBits": 9, )"
       R"("sections": [{"identifier": "000000101", "bit": 8, "frames": 1, "bytes": 8, "used": 2, )"
       R"("ninthBits": 0, "crc": "right", "storedCrc": "07FD", "computedCrc": "07FD", "hidden": false}], )"
       "\"others\": []}\n0"},
      {"list --id-bits 9 others.bit",
       "identifier       bit   byte.bit   frames    bytes     used  CRC\n"
       "000000101          8        1.0        1        8        0  empty\n"
       "000000101        200       25.0        1        8        0  empty, hidden\n"
       "2 EBRs                                 2       16        0  2 empty, 1 hidden\n\n"
       "Sections without contents, data that looks like an address:\n"
       "identifier       bit   byte.bit  reason\n"
       "000000110        384       48.0  the bitstream ends after the identifier\n0"},
      {"list --id-bits 9 ones.bit | grep ^0", "000000101          0        0.0        1        8        8  empty, 8 ninth bits set\n0"},
      {"list --json --id-bits=9 -- cut.bit", R"({"file": "cut.bit", "bytes": 23, "identifierBits": 9, "sections": [], )"
       R"("others": [{"identifier": "000000101", "bit": 8, "reason": "the bitstream ends inside the payload"}]})" "\n0"},
      {"verify in.bit ram.wid words.mem", "word 0: expected 5C, found 00\nword 1: expected F0, found 00\n"
       "EBR 000000101: CRC empty (0000, computed B117)\nnot the same: 2 of 2 words of 8 bits in 1 EBR differ\n1"},
      {"verify --json in.bit ram.wid words.mem", R"({"same": false, "words": 2, "different": [{"word": 0, "expected": "5C", )"
       R"("found": "00"}, {"word": 1, "expected": "F0", "found": "00"}], "ebrs": [{"identifier": "000000101", "crc": "empty", )"
       R"("behind": false, "ninthBits": 0}]})" "\n1"},
      {"verify out.bit ram.wid zeros.mem", "word 0: expected 00, found 5C\nword 1: expected 00, found F0\n"
       "not the same: 2 of 2 words of 8 bits in 1 EBR differ\n1"},
      {"verify --json out.bit ram.wid words.mem", R"({"same": true, "words": 2, "different": [], "ebrs": []})" "\n0"},
      {"diff in.bit out.bit", note + "EBR 000000101 at bit 8: 8 payload bits and the CRC differ\n"
       "1 of 1 EBR differs; outside of them nothing does\n1"},
      {"diff --json --id-bits 9 in.bit out.bit",
       R"({"same": false, "sections": [{"identifier": "000000101", "bit": 8, "payloadBits": 8, "crc": true}], "outsideBits": 0})" "\n1"},
      {"diff --id-bits 9 in.bit outside.bit", "0 of 1 EBR differ; outside of them 2 bits, the first at bit 7\n1"},
      {"diff --json in.bit cut.bit", "{\"same\": false, \"sizes\": [24, 23]}\n1"},
      {"diff in.bit cut.bit", "the sizes differ: 24 and 23 bytes\n1"},
      {"locate in.bit no.mem", "ERROR: can't open file no.mem: No such file or directory\n2"},
      {"diff --id-bits 9 in.bit - <in.bit", "ERROR: can't open file -: No such file or directory\n2"},
      {"diff /dev/stdin /dev/fd/0 <in.bit | cat; cat in.bit | '" RAMGRAFT_INSPECT_BINARY "' diff /dev/stdin /dev/stdin",
       "NOTE: /dev/stdin: taking identifiers of 9 bits, which give the most EBRs (1); --id-bits N says otherwise\n"
       "0 of 1 EBR differ; outside of them nothing does\n"
       "ERROR: /dev/stdin and /dev/stdin are the same pipe, which can't be read twice\n2"},
      {"extract out.bit ram.wid", "5C\nF0\n0"},
      {"extract --words 1 out.bit ram.wid", "WARNING: EBR 000000101: contents that aren't 0 after the last word\n5C\n0"},
      {"extract in.bit ram.wid", "WARNING: EBR 000000101: the CRC is empty: 0000, ramgraft would write B117\n00\n00\n0"},
      {"extract --words 9 out.bit ram.wid", "ERROR: --words: the EBRs hold only 8 words\n2"},
      {"extract cut.bit ram.wid", "ERROR: EBR 000000101 at bit 8: the bitstream ends inside the payload\n2"},
      {"extract out.bit words.mem", "ERROR: words.mem, line 2: no line of widths like aw10;dw8: F0\n2"},
      {"locate out.bit words.mem 2>/dev/null", SMALLEST.wid + "0"},
      {"locate in.bit words.mem", note + "not located: the best try is 2 bits of each word in each of 4 EBRs: 1 of 4 columns found\n1"},
      {"locate --id-bits 4 equal.bit /dev/stdin <zeros.mem", "not located: with 16 bits of each word in each of 1 EBR, the contents can't "
       "tell EBRs apart: bits 15:0 of the words are found in 0101, 0110\n1"},
      {"locate in.bit two.mem", "ERROR: two.mem, line 2: 16 bits, the first word's line has 8\n2"},
      {"locate in.bit /dev/null", "ERROR: /dev/null: holds no memory words\n2"},
      {"locate --data-width 3 in.bit words.mem", "ERROR: --data-width: the lines of words.mem have 8 bits, which is no multiple of 3\n2"},
      {"list none.bit", "ERROR: none.bit: no EBR contents found, whatever the width of the identifiers\n2"},
      {"list --id-bits 9 overlapping.bit", "ERROR: overlapping.bit: the contents of its EBRs overlap too often\n2"},
      {"list .", "ERROR: can't read file .: Is a directory\n2"},
      {"list --id-bits 65 in.bit", "ERROR: --id-bits: must be a number from 1 to 64" + end},
      {"list --id-bits 010x in.bit", "ERROR: --id-bits: must be a number from 1 to 64" + end},
      {"extract --words 0 in.bit ram.wid", "ERROR: --words: must be a number from 1 to 4294967295" + end},
      {"extract --words -1 in.bit ram.wid", "ERROR: --words: must be a number from 1 to 4294967295" + end},
      {"verify in.bit ram.wid", "ERROR: FILE.mem is required" + end},
      {"", "ERROR: A subcommand is required" + end},
      {"list --json --id-bits 9 in.bit >/dev/full", "ERROR: can't write to standard output: No space left on device\n2"},
      {"--help >/dev/full", "ERROR: can't write to standard output: No space left on device\n2"},
      {"extract -o /dev/full out.bit ram.wid", "ERROR: can't write file /dev/full: No space left on device\n2"},
      {"--version", "ramgraft-inspect " RAMGRAFT_VERSION "\n0"},
      // clang-format on
  };
  for (const auto& [arguments, expected] : rows) {
    EXPECT_EQ(runBinary(arguments), expected) << arguments;
  }
  EXPECT_EQ(runBinary("list --help >help 2>&1"), "0");
  EXPECT_NE(contentsOf("help").find("--id-bits N"), std::string::npos);
}

}  // namespace
