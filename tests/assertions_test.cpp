// Broken preconditions abort, in every build type, with a text that doesn't depend on the compiler.
#include <gtest/gtest.h>

#include "fixture.h"
#include "steps/ramgraftebr.h"
#include "steps/ramgraftfiles.h"
#include "steps/ramgraftutil.h"

namespace {

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
       "bitIndex + count <= getNumBits()", [] { bits.overwriteBits(5, nullptr, 8); }},
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
      {"ebr", "bool replaceEbrData(BitstreamTraverser&, std::vector<std::string>, int&, int, int, int, int, "
       "std::list<bool>&)", "numEbrs >= 1", [] { int startLine = 0; replaceEbrData(traverser, {}, startLine, 0, 0, 0, 0, list); }},
      {"files", "bool normalizeWids(std::vector<std::string>&, int&)", "wids.size() > 0",
       [] { std::vector<std::string> wids; int length = 0; normalizeWids(wids, length); }},
      {"files", "bool writeOutput(const string&, Bitstream&)", "bitstream.isByteAligned()",
       [] { writeOutput("no/such", bits); }},
      // clang-format on
  };
  for (const auto& [file, signature, condition, breach] : rows) {
    std::string expression = std::string(": ramgraft") + file + "\\.cpp:[0-9]+: ";
    for (const char c : std::string(signature) + ": Assertion `" + condition + "' failed.\n") {
      expression += std::isalnum(c) != 0 ? std::string{c} : std::string{'[', c, ']'};
    }
    EXPECT_EXIT(breach(), testing::KilledBySignal(SIGABRT), expression);
  }
}

}  // namespace
