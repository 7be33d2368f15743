// The public operations, beyond what a run asks of them.
#include <gtest/gtest.h>

#include "fixture.h"
#include "ramgraftebr.h"
#include "ramgraftfiles.h"
#include "ramgraftutil.h"

namespace {

// Broken preconditions abort, in every build type, with a text that doesn't depend on the compiler.
TEST(AssertionsDeathTest, NameFileSignatureAndCondition) {
  static Bitstream bits(0);
  static BitstreamTraverser traverser(&bits);
  static std::list<bool> list;
  static std::string text;
  pushDigits(bits, "110110110110");
  const char* const BELOW_END = "bitIndex >= 0 && bitIndex < getNumBits()";
  const char* const GET_BYTE = "unsigned char Bitstream::getByte(long unsigned int)";
  const char* const CHECK = "bool checkBitsValue(std::list<bool>, const string&)";
  const char* const IS_DIGIT = "value.at(index) == '1' || value.at(index) == '0'";
  const char* const TO_BINARY = "void intToBinaryString(int, short int, std::string&)";
  const char* const TO_INT = "int binaryStringToInt(const string&)";
  const std::tuple<const char*, const char*, const char*, void (*)()> rows[] = {
      // clang-format off
      {"bstream", "bool Bitstream::getBit(long unsigned int)", BELOW_END, [] { bits.getBit(12); }},
      {"bstream", "void Bitstream::addBit(bool, long unsigned int)", BELOW_END, [] { bits.addBit(true, 12); }},
      {"bstream", GET_BYTE, "bitIndex + 7 < getNumBits()", [] { bits.getByte(1); }},
      {"bstream", GET_BYTE, "bitIndex + 7 < getNumBits()", [] { bits.getByte(UINT64_MAX / 8 + 1); }},
      {"bstream", "void Bitstream::overwriteBits(long unsigned int, const unsigned char*, uint64_t)",
       "bitIndex + numBits <= getNumBits()", [] { bits.overwriteBits(5, nullptr, 8); }},
      {"util", CHECK, "bits.size() == value.size()", [] { checkBitsValue({true}, "10"); }},
      {"util", CHECK, IS_DIGIT, [] { checkBitsValue({true}, "X"); }},
      {"util", CHECK, IS_DIGIT, [] { traverser.findBits("01X", list); }},
      {"util", TO_BINARY, "numBits < sizeof(value) * 8", [] { intToBinaryString(0, 32, text); }},
      {"util", TO_BINARY, "numBits < sizeof(value) * 8", [] { intToBinaryString(0, -1, text); }},
      {"util", TO_BINARY, "stringValue.size() == 0", [] { std::string zero = "0"; intToBinaryString(0, 1, zero); }},
      {"util", TO_INT, "binary.size() < sizeof(int) * 8", [] { binaryStringToInt(digits(0, 32)); }},
      {"util", TO_INT, "0", [] { binaryStringToInt("01a1"); }},
      {"util", "void binaryStringToHex(const string&, std::string&)", "binaryStr.size() % 8 == 0",
       [] { binaryStringToHex("000011110000", text); }},
      {"util", "bool hexStringToBytes(const string&, std::vector<unsigned char>&)", "bytes.size() == 0",
       [] { std::vector<unsigned char> bytes = {0}; hexStringToBytes("00", bytes); }},
      {"util", "void bytesToBits(const std::vector<unsigned char>&, std::vector<bool>&)",
       "bits.size() == bytes.size() * 8", [] { std::vector<bool> bools = {true}; bytesToBits({}, bools); }},
      {"traverse", "BitstreamTraverser::BitstreamTraverser(Bitstream*)", "bitstream",
       [] { BitstreamTraverser none(nullptr); }},
      {"traverse", "void BitstreamTraverser::setBitIndex(long unsigned int)", "index >= 0 && index < bs->getNumBits()",
       [] { traverser.setBitIndex(12); }},
      {"traverse", "bool BitstreamTraverser::expectBits(char, int, std::list<bool>&)", "0",
       [] { traverser.expectBits('2', 0, list); }},
      {"traverse", "void BitstreamTraverser::skipBits(int, std::list<bool>&, std::string&)",
       "bitIndex + bitsToSkip < bs->getNumBits()", [] { traverser.skipBits(12, list, text); }},
      {"ebr", "bool replaceEbrData(BitstreamTraverser&, std::vector<std::string>, int&, int, int, int, int, "
       "std::list<bool>&)", "startLine + INIT_LINES <= newData.size()",
       [] { int startLine = 1; replaceEbrData(traverser, {"00"}, startLine, 0, 1, 0, 0, list); }},
      {"files", "bool writeOutput(const string&, Bitstream&)", "bitstream.isByteAligned()",
       [] { writeOutput("no/such", bits); }},
      // clang-format on
  };
  for (const auto& [file, signature, condition, breach] : rows) {
    std::string expression = ": ramgraft";
    expression.append(file).append("\\.cpp:[0-9]+: ");
    for (const std::string part : {signature, ": Assertion `", condition, "' failed.\n"}) {
      for (const char c : part) {
        expression += std::isalnum(c) != 0 ? std::string{c} : std::string{'[', c, ']'};
      }
    }
    EXPECT_EXIT(breach(), testing::KilledBySignal(SIGABRT), expression);
  }
}

// Remembered sections against a search that starts afresh, whatever was overwritten in between.
TEST(EbrSectionMap, FindsWhatAFreshSearchFinds) {
  for (std::uint64_t seed = 0; seed < 4000; ++seed) {
    std::mt19937_64 random(seed);
    const std::size_t width = random() % 60;
    const std::vector<std::string> wids = {digits(random(), width), digits(0, width),
                                           digits(0xF600000000000000U >> random() % 8, width)};
    const auto piece = [&] {
      const std::string address = digits(0xF6, 8) + digits(0, 36);
      const std::string pieces[] = {address + wids[random() % 3], address.substr(random() % 44),
                                    address.substr(0, random() % 44), digits(random(), 9)};
      return pieces[random() % 4];
    };
    Bitstream bitstream(0);
    for (std::uint64_t n = random() % 24; n > 0; --n) pushDigits(bitstream, piece());
    EbrSectionMap sections(bitstream, wids);
    for (int step = 0; step < 12; ++step) {
      const std::string& wid = wids[random() % 3];
      BitstreamTraverser traverser(&bitstream);
      std::list<bool> newBits;
      std::uint64_t index = 0, restart = 0;
      const Outcome outcome = findAfresh(traverser, wid, newBits, restart);
      ASSERT_EQ(sections.find(wid, index), outcome) << seed << " " << digitsOf(bitstream);
      if (outcome == Outcome::FOUND) {
        ASSERT_EQ(index + width, traverser.getBitIndex()) << seed;
      }
      const std::size_t begin = random() % (bitstream.getNumBits() + 1);
      const std::string change = piece().substr(0, bitstream.getNumBits() - begin);
      for (std::size_t i = 0; i < change.size(); ++i) bitstream.addBit(change[i] == '1', begin + i);
      sections.bitsChanged(begin, begin + change.size());
    }
  }
}

TEST(Crc, IsThePublishedOneFromAndToAnyByte) {
  std::mt19937_64 random(2);
  std::string stream;
  for (int i = 0; i < 90; ++i) stream += digits(random(), 64);
  const std::string bytes = packDigits(stream) + "123456789";
  for (const char digit : bytes.substr(720)) stream += digits(static_cast<unsigned char>(digit), 8);
  const auto* const data = reinterpret_cast<const unsigned char*>(bytes.data());
  EXPECT_EQ(crc16(data + 720, 9), 0xFEE8);
  for (std::size_t begin = 0; begin <= 720; begin += begin < 20 ? 1 : 50) {
    const std::size_t size = bytes.size() - begin;
    const std::string crc = spellCrc(stream, stream.size(), static_cast<int>(size * 8));
    for (std::size_t split = 0; split <= size; ++split) {
      const std::uint16_t first = crc16(data + begin, split);
      const unsigned whole = crc16(data + begin + split, size - split, first);
      ASSERT_EQ(digits(whole, 16), crc) << split << " of " << size;
    }
  }
}

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
        ASSERT_EQ(EbrContents(1, 8).appendWord(word), isGood) << word;
      }
      place = before;
    }
  }
  EXPECT_EQ(compareRuns({packDigits(ebrDigits("0", 160, "0")), "0\naw9;dw8", mem}), "");
}

TEST(Conversions, WordsBecomePhysicalLines) {
  const std::vector<std::string> words = {"A5", "3C", "", "f", "F0xx"};
  std::vector<std::string> lines;
  EXPECT_EQ(outputOf([&] { transformLogInitToPhy(words, 0, 8, 2, lines); }),
            "ERROR: character x is not hexadecimal!\n");
  const std::string zeros(16379, '0');
  EXPECT_TRUE(lines == (std::vector{zeros + "01E3A", zeros + "1E0C5"})) << "bytes before the x";
}

}  // namespace
