// ramgraft-inspect: what its subcommands promise about each other and about a run, and the real
// binary as a user runs it.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <fstream>
#include <numeric>
#include <sstream>

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

// dump of out.bit must give the words of the memory file, or their bytes in either order.
std::string brokenDumpLaw(const RunFiles& files, std::size_t wordBits) {
  const std::size_t wordBytes = wordBits / 8;
  for (const std::string order : {"", "little", "big"}) {
    if (!order.empty() && wordBits % 8 != 0) continue;
    std::ofstream map("m.toml");
    map << "version = 1\n[memory.m]\nwid = \"ram.wid\"\nwords = "
        << static_cast<unsigned>(std::ranges::count(files.mem, '\n')) * std::lcm(wordBits, 8U) /
               wordBits;
    if (!order.empty()) map << "\norder = '" << order << "'";
    map << std::flush;
    std::vector<const char*> arguments = {"dump", "m.toml", "out.bit", "m", "-o", "new"};
    if (order.empty()) arguments.push_back("--words");
    const std::string said = inspect(arguments);
    if (said != "0") return said;
    std::string found = contentsOf("new"), bits;
    for (std::size_t i = 0; order == "little" && i < found.size(); i += wordBytes) {
      std::reverse(found.begin() + static_cast<int>(i),
                   found.begin() + static_cast<int>(i + wordBytes));
    }
    std::istringstream words(found);
    for (std::string word; order.empty() && words >> word;) {
      bits += digitsOfHex(word).substr((4 - wordBits % 4) % 4);
    }
    std::string expected = files.mem;
    std::erase(expected, '\n');
    if ((order.empty() ? bits : unpackBytes(found)) != digitsOfHex(expected)) return order + found;
  }
  return "";
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
      EXPECT_EQ(brokenDumpLaw(memory.files, numEbrs * bitsPerEbr), "") << name;
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
  ::setenv("BINARY", RAMGRAFT_INSPECT_BINARY, 1);  // its path may have any characters
  const std::string command = "\"$BINARY\" " + arguments;
  int status = 0;
  const std::string text = outputOf([&] { status = std::system(command.c_str()); });
  return text + std::to_string(WEXITSTATUS(status));
}

// A stream in which the header, the contents and the CRC of the first EBR pose as commands, and an
// EBR comes twice.
std::string makePosing() {
  const std::string address = digits(0xF6, 8) + digits(0, 36);
  std::string first = ebrDigits("000000101", 15, "0", 0xF6);
  first.replace(96, 8, "01100000");  // the frame count ends in 1111
  first.replace(200, 53, address + "000000110");
  return packDigits(first + digits(0, 36) + "000000111" + ebrDigits("000000110", 1, "01") +
                    ebrDigits("000000101", 1, "0") + address + "000001000");
}

TEST(Inspect, PrintsWhatItFinds) {
  runTool(SMALLEST);  // leaves the files for the binary
  std::ofstream("others.bit") << STREAM << STREAM << packDigits(digits(0xF6, 8) + digits(6, 45));
  std::ofstream("cut.bit") << STREAM.substr(0, 23);
  std::ofstream("none.bit") << "no sections";
  std::ofstream("outside.bit") << '\xFE' << STREAM.substr(1, 7) << '\1' << STREAM.substr(9);
  std::ofstream("ones.bit") << packDigits(ebrDigits("000000101", 1, "1"));
  std::ofstream("posing.bit") << makePosing();
  std::ofstream("hidden.wid") << "0b000000110\naw3;dw8";
  const std::string low = "000001111", high = "000111010";  // F0 and 5C
  std::ofstream("ways.bit") << packDigits(ebrDigits("0101", 1, high + low + digits(0, 54)) +
                                          ebrDigits("0110", 1, low + digits(0, 63)));
  std::ofstream("ways.mem") << "5CF0";
  std::ofstream("known.mem") << "55\nAA\n";
  std::ofstream("wide.wid") << "0b000000101\n0b000000110\naw3;dw16";
  std::ofstream("odd.wid") << "0b000001001\naw3;dw5";
  std::ofstream("m.toml") << "version = 1\n[memory.wide]\nwords = 8\nwid = \"wide.wid\"\n"
                             "[memory.odd]\nwords = 12\nwid = \"odd.wid\"\n";
  const auto three = [](const std::string& payload) {
    return packDigits(ebrDigits("000000101", 1, payload) + ebrDigits("000000110", 1, "0") +
                      ebrDigits("000001001", 1, payload) + ebrDigits("000000001", 0, "0"));
  };
  std::ofstream("three.bit") << three("0");
  std::ofstream("changed.bit") << three("011");
  std::ofstream("two.mem") << "5C\n5CF0\n";
  std::ofstream("zeros.mem") << "0000\n";
  std::ofstream("equal.bit") << packDigits(ebrDigits("0101", 1, "0") + ebrDigits("0110", 1, "0"));
  const std::string end = "; ramgraft-inspect --help explains\n2";
  const std::string note =
      "NOTE: in.bit: taking identifiers of 9 bits, which give the most EBRs (1); "
      "--id-bits N says otherwise\n";
  const std::string hidden =
      "WARNING: EBR 000000110 at bit 1237 is hidden from ramgraft: its search doesn't arrive "
      "there\n";
  const std::string unfit =
      "ERROR: wide.wid, line 2: EBR 000000110 isn't in in.bit, which has 1 EBR "
      "with identifiers of 9 bits\n2";
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
       "Commands without contents, and what ramgraft takes for a command:\n"
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
      {"diff /dev/stdin /dev/fd/0 <in.bit | cat; cat in.bit | \"$BINARY\" diff /dev/stdin /dev/stdin",
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
      {"locate --id-bits 4 ways.bit ways.mem", "not located: more than one way fits: 16 bits of each word in each of 1 EBR, "
       "8 bits of each word in each of 2 EBRs\n1"},
      {"locate in.bit two.mem", "ERROR: two.mem, line 2: 16 bits, the first word's line has 8\n2"},
      {"locate in.bit /dev/null", "ERROR: /dev/null: holds no memory words\n2"},
      {"locate --data-width 3 in.bit words.mem", "ERROR: --data-width: the lines of words.mem have 8 bits, which is no multiple of 3\n2"},
      {"list none.bit", "ERROR: none.bit: no EBR contents found, whatever the width of the identifiers\n2"},
      {"list --id-bits 9 posing.bit",
       "identifier       bit   byte.bit   frames    bytes     used  CRC\n"
       "000000101          0        0.0       15      120        4  wrong\n"
       "000000110       1237      154.5        1        8        8  empty, hidden, 4 ninth bits set\n"
       "000000101       1421      177.5        1        8        0  empty, hidden\n"
       "3 EBRs                                17      136       12  2 empty, 1 wrong, 2 hidden\n\n"
       "Commands without contents, and what ramgraft takes for a command:\n"
       "identifier       bit   byte.bit  reason\n"
       "000000000         92       11.4  in the header of 000000101\n"
       "000000110        200       25.0  in the contents of 000000101\n"
       "000000111       1184      148.0  in the CRC of 000000101\n"
       "000001000       1605      200.5  the bitstream ends after the identifier\n0"},
      {"verify posing.bit hidden.wid words.mem", hidden + "ERROR: EBR 000000110 at bit 200: no TAV_EBR_WRITE; "
       "it is at bit 1237, where ramgraft's search doesn't arrive\n2"},
      {"extract --words 2 posing.bit hidden.wid 2>&1 | grep -v 'ninth\\|CRC\\|after'", hidden + "55\nAA\n0"},
      {"locate --id-bits 9 posing.bit known.mem", hidden + "0b000000110\naw1;dw8\n0"},
      {"list --map m.toml three.bit",
       "identifier       bit   byte.bit   frames    bytes     used  memory, CRC\n"
       "000000101          0        0.0        1        8        0  wide part 1, empty\n"
       "000000110        184       23.0        1        8        0  wide part 1, empty\n"
       "000001001        368       46.0        1        8        0  odd part 1, empty\n"
       "000000001        552       69.0        0        0        0  empty\n"
       "4 EBRs                                 3       24        0  4 empty\n0"},
      {"list --json --map m.toml three.bit | grep -o 'hidden[^}]*'", "hidden\": false, \"memory\": \"wide\", \"part\": 1\n"
       "hidden\": false, \"memory\": \"wide\", \"part\": 1\nhidden\": false, \"memory\": \"odd\", \"part\": 1\nhidden\": false\n0"},
      {"diff --map m.toml three.bit changed.bit | sed '/wide word [1-7]/d'",
       "EBR 000000101 at bit 0 (wide part 1): 48 payload bits differ, the CRC doesn't\n"
       "EBR 000001001 at bit 368 (odd part 1): 48 payload bits differ, the CRC doesn't\n"
       "wide word 0: expected 0000, found 00DB\n"
       "odd word 0: expected 00, found 1B\nodd word 1: expected 00, found 0F\nodd word 2: expected 00, found 0D\n"
       "odd word 3: expected 00, found 1D\nodd word 4: expected 00, found 17\nodd word 5: expected 00, found 16\n"
       "odd word 6: expected 00, found 1E\nodd word 7: expected 00, found 1B\nodd word 8: expected 00, found 1B\n"
       "odd word 9: expected 00, found 0F\n... and 2 more in odd\n2 of 4 EBRs differ; outside of them nothing does\n0"},
      {"diff --json --map m.toml three.bit changed.bit | sed 's/, {\"memory\": [^}]*}//g'", R"({"same": false, "sections": [)"
       R"({"identifier": "000000101", "bit": 0, "payloadBits": 48, "crc": false, "memory": "wide", "part": 1}, )"
       R"({"identifier": "000001001", "bit": 368, "payloadBits": 48, "crc": false, "memory": "odd", "part": 1}], )"
       R"("words": [{"memory": "wide", "word": 0, "expected": "0000", "found": "00DB"}], "outsideBits": 0})" "\n0"},
      {"list --map m.toml in.bit", unfit},
      {"diff --map m.toml in.bit out.bit", unfit},
      {"list --map m.toml --id-bits 9 three.bit", "ERROR: --id-bits excludes --map" + end},
      {"dump m.toml changed.bit odd", "ERROR: m.toml, line 5: odd has words of 5 bits, which make no bytes: --words dumps them\n2"},
      {"dump m.toml changed.bit wide", "ERROR: m.toml, line 2: wide needs order = \"little\" or \"big\": which end of a word has the lowest address\n2"},
      {"dump m.toml changed.bit none", "ERROR: m.toml: no memory is named none\n2"},
      {"dump m.toml in.bit odd", unfit},
      {"dump --words -o wide.wid m.toml changed.bit odd", "ERROR: can't write file wide.wid: it is an input (wide.wid)\n2"},
      {"--version >/dev/null; ln out.bit link.bit; \"$BINARY\" extract -o link.bit out.bit ram.wid",
       "ERROR: can't write file link.bit: it is an input (out.bit)\n2"},
      {"locate -o words.mem --id-bits 9 out.bit words.mem", "ERROR: can't write file words.mem: it is an input (words.mem)\n2"},
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
