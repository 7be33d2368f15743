// The conversions between bits, bytes, integers and text, at their edges.
#include <gtest/gtest.h>

#include "fixture.h"
#include "ramgraftcrc.h"
#include "ramgraftutil.h"

namespace {

TEST(Conversions, BitsEqualTheirDigits) {
  EXPECT_TRUE(checkBitsValue({}, ""));
  EXPECT_TRUE(checkBitsValue({true, false}, "10"));
  EXPECT_FALSE(checkBitsValue({true}, "0"));
  EXPECT_FALSE(checkBitsValue({false, true}, "1X")) << "stops before the X";
}

TEST(Conversions, IntegersAreBinaryDigits) {
  const std::tuple<int, short, std::string> rows[] = {
      {3, 4, "0011"},
      {19, 4, "0011"},
      {-1, 4, "1111"},
      {5, 0, ""},
      {0x40000001, 31, "1" + std::string(29, '0') + "1"}};
  for (const auto& [value, numBits, expected] : rows) {
    std::string text;
    intToBinaryString(value, numBits, text);
    EXPECT_EQ(text, expected) << value;
  }
  EXPECT_EQ(binaryStringToInt(""), 0);
  EXPECT_EQ(binaryStringToInt("00101"), 5);
  EXPECT_EQ(binaryStringToInt(std::string(31, '1')), 2147483647);
}

TEST(Conversions, BinaryDigitsBecomeHexadecimalOnes) {
  std::string text = "12";
  binaryStringToHex("1111000010101011", text);
  EXPECT_EQ(text, "12F0AB");
}

TEST(Conversions, HexadecimalDigitsBecomeBytes) {
  struct Row {
    const char* text;
    std::vector<unsigned char> bytes;
    const char* offending;
  };
  const Row rows[] = {{"", {}, ""},
                      {"6a", {106}, ""},
                      {"4C5D", {76, 93}, ""},
                      {"FFF", {15, 255}, ""},
                      {"F", {15}, ""},
                      {"ZZZZ", {}, "Z"},
                      {"12G4", {0x12}, "G"},
                      {"12G", {1}, "G"},
                      {"1G", {}, "G"},
                      {"0x1F", {}, "x"},
                      {"09afAF/", {0, 0x9A, 0xFA}, "/"},
                      {"0:", {}, ":"},
                      {"0@", {}, "@"},
                      {"0`", {}, "`"},
                      {"0g", {}, "g"}};
  for (const Row& row : rows) {
    std::vector<unsigned char> bytes;
    bool isGood = false;
    const std::string line = outputOf([&] { isGood = hexStringToBytes(row.text, bytes); });
    const std::string offending = row.offending;
    EXPECT_EQ(isGood, offending.empty()) << row.text;
    EXPECT_EQ(bytes, row.bytes) << row.text;
    EXPECT_EQ(line, isGood ? "" : "ERROR: character " + offending + " is not hexadecimal!\n");
  }
}

TEST(Conversions, BytesBecomeBits) {
  std::vector<bool> bits;
  bytesToBits({0xF0, 0x55}, bits);
  EXPECT_EQ(bits, (std::vector<bool>{1, 1, 1, 1, 0, 0, 0, 0, 0, 1, 0, 1, 0, 1, 0, 1}));
  EXPECT_EQ(reverseByteBits(0x01), 0x80);
  EXPECT_EQ(reverseByteBits(0x0F), 0xF0);
}

}  // namespace
