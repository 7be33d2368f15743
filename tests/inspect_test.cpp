// ramgraft-inspect as a user runs it, and reading contents as they are written.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "base/hexwords.h"
#include "ebr/columns.h"
#include "ebr/payload.h"
#include "inspected.h"

namespace {

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
  const std::string ones(64, '1');  // what both identifiers begin with
  std::ofstream("longid.bit") << packDigits(ebrDigits(ones + "10", 1, "0") +
                                            ebrDigits(ones + "01", 1, "0"));
  std::ofstream("longid.wid") << ones << "01\n" << ones << "10\naw1;dw16\n";
  for (const auto& [command, said] : readCases("inspect_cases.txt")) {
    EXPECT_EQ(runCommand(command), said) << command;
  }
  EXPECT_EQ(runCommand("ramgraft-inspect --version"), "ramgraft-inspect " RAMGRAFT_VERSION "\n0");
}

}  // namespace
