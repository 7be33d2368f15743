// The conversions between bits, bytes, integers and text, at their edges.
#include <gtest/gtest.h>

#include "ebr/memorywords.h"
#include "fixture.h"
#include "steps/ramgraftutil.h"

namespace {

TEST(Conversions, IntegersAreBinaryDigits) {
  std::string low, none, high;
  intToBinaryString(-13, 4, low);
  intToBinaryString(5, 0, none);
  intToBinaryString(0x40000001, 31, high);
  EXPECT_EQ(low + none + high, "00111" + digits(1, 30));
  EXPECT_EQ(binaryStringToInt(""), 0);
  EXPECT_EQ(binaryStringToInt(digits(0x7FFFFFFF, 31)), 0x7FFFFFFF);
  EXPECT_FALSE(checkBitsValue({false, true}, "1X")) << "stops before the X";
}

// Words of all lengths, whose digits may be read many at once; any other character in any place.
TEST(Conversions, HexadecimalDigitsBecomeBits) {
  const std::string hexDigits = "0123456789abcdefABCDEF";
  std::string mem;
  for (std::size_t length = 1; length < 70; ++length) {
    std::string word;
    while (word.size() < length) word += hexDigits[(word.size() + length * 7) % 22];
    mem += word + "\n";
    for (char& place : word) {
      const char before = place;
      for (int i = 0; i < 256; ++i) {
        place = static_cast<char>(i);
        const bool isGood = hexDigits.find(place) != std::string::npos;
        ASSERT_EQ(MemoryWords(1, 8).appendWord(word), isGood) << word;
      }
      place = before;
    }
  }
  EXPECT_EQ(compareRuns({packDigits(ebrDigits("0", 160, "0")), "0\naw9;dw8", mem}), "");
}

}  // namespace
