// ramgraft-inspect: what its subcommands promise about each other and about a run, and the real
// binary as a user runs it.
#include <gtest/gtest.h>

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
      const std::string said =
          inspect({"locate", "--verbose", "--data-width", memory.dataWidth.c_str(), "-o", "new",
                   "out.bit", "words.mem"});
      EXPECT_TRUE(said.starts_with(note) && said.ends_with("\n0")) << name << said;
      EXPECT_EQ(contentsOf("new"), memory.files.wid) << name;
      EXPECT_EQ(brokenDumpLaw(memory.files, numEbrs * bitsPerEbr), "") << name;
    }
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
        EXPECT_EQ(columnBitsFrom(i / 8 * 64, words, ebr) >> i % 8 * 8 & 0xFF, column[i]);
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
  runTool(SMALLEST_RUN);  // leaves its files
  const std::string& stream = SMALLEST_RUN.bit;
  std::ofstream("others.bit") << stream << stream << packDigits(digits(0xF6, 8) + digits(6, 45));
  std::ofstream("cut.bit") << stream.substr(0, 23);
  std::ofstream("outside.bit") << '\xFE' << stream.substr(1, 7) << '\1' << stream.substr(9);
  std::ofstream("ones.bit") << packDigits(ebrDigits("000000101", 1, "1"));
  std::ofstream("posing.bit") << makePosing();
  const std::string low = "000001111", high = "000111010";  // F0 and 5C
  std::ofstream("ways.bit") << packDigits(ebrDigits("0101", 1, high + low + digits(0, 54)) +
                                          ebrDigits("0110", 1, low + digits(0, 63)));
  const auto three = [](const std::string& payload) {
    return packDigits(ebrDigits("000000101", 1, payload) + ebrDigits("000000110", 1, "0") +
                      ebrDigits("000001001", 1, payload) + ebrDigits("000000001", 0, "0"));
  };
  std::ofstream("three.bit") << three("0");
  std::ofstream("changed.bit") << three("011");
  std::ofstream("equal.bit") << packDigits(ebrDigits("0101", 1, "0") + ebrDigits("0110", 1, "0"));
  std::ofstream("long.bit") << packDigits(ebrDigits("000000101", 820, "01"));
  // As many EBRs with identifiers of 9 bits as of 12.
  std::ofstream("tie.bit") << stream << packDigits(ebrDigits("101111111111", 1, "1"));
  for (const auto& [command, said] : readCases("inspect_cases.txt")) {
    EXPECT_EQ(runCommand(command), said) << command;
  }
  EXPECT_EQ(runCommand("ramgraft-inspect --version"), "ramgraft-inspect " RAMGRAFT_VERSION "\n0");
}

}  // namespace
