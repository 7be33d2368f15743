// Broken preconditions abort, in every build type, with a text that doesn't depend on the compiler.
#include <gtest/gtest.h>

#include <cctype>
#include <functional>

#include "fixture.h"
#include "ramgraftebr.h"
#include "ramgraftfiles.h"
#include "ramgraftutil.h"

namespace {

struct Stream {
  Stream() : bits(0), traverser(&bits) { pushDigits(bits, "110110110110"); }
  Bitstream bits;
  BitstreamTraverser traverser;
  std::list<bool> list;
  std::string text;
  std::vector<unsigned char> bytes = {0};
  std::vector<bool> flags = {true};
  int startLine = 1;
};

TEST(AssertionsDeathTest, NameFileSignatureAndCondition) {
  struct Row {
    const char* file;
    const char* signature;
    const char* condition;
    std::function<void(Stream&)> breach;
  };
  const char* const BELOW_END = "bitIndex >= 0 && bitIndex < getNumBits()";
  const char* const GET_BYTE = "unsigned char Bitstream::getByte(long unsigned int)";
  const char* const CHECK = "bool checkBitsValue(std::list<bool>, const string&)";
  const char* const IS_DIGIT = "value.at(index) == '1' || value.at(index) == '0'";
  const char* const TO_BINARY = "void intToBinaryString(int, short int, std::string&)";
  const Row rows[] = {
      // clang-format off
      {"bstream", "bool Bitstream::getBit(long unsigned int)", BELOW_END, [](Stream& s) { s.bits.getBit(12); }},
      {"bstream", "void Bitstream::addBit(bool, long unsigned int)", BELOW_END, [](Stream& s) { s.bits.addBit(true, 12); }},
      {"bstream", GET_BYTE, "bitIndex + 7 < getNumBits()", [](Stream& s) { s.bits.getByte(1); }},
      {"bstream", GET_BYTE, "bitIndex + 7 < getNumBits()", [](Stream& s) { s.bits.getByte(UINT64_MAX / 8 + 1); }},
      {"bstream", "void Bitstream::overwriteBits(long unsigned int, const unsigned char*, uint64_t)",
       "bitIndex + numBits <= getNumBits()", [](Stream& s) { s.bits.overwriteBits(5, s.bytes.data(), 8); }},
      {"util", CHECK, "bits.size() == value.size()", [](Stream&) { checkBitsValue({true}, "10"); }},
      {"util", CHECK, IS_DIGIT, [](Stream&) { checkBitsValue({true}, "X"); }},
      {"util", CHECK, IS_DIGIT, [](Stream& s) { s.traverser.findBits("01X", s.list); }},
      {"util", TO_BINARY, "numBits < sizeof(value) * 8", [](Stream& s) { intToBinaryString(0, 32, s.text); }},
      {"util", TO_BINARY, "numBits < sizeof(value) * 8", [](Stream& s) { intToBinaryString(0, -1, s.text); }},
      {"util", TO_BINARY, "stringValue.size() == 0", [](Stream& s) { intToBinaryString(0, 1, s.text = "0"); }},
      {"util", "int binaryStringToInt(const string&)", "binary.size() < sizeof(int) * 8",
       [](Stream&) { binaryStringToInt(std::string(32, '0')); }},
      {"util", "int binaryStringToInt(const string&)", "0", [](Stream&) { binaryStringToInt("01a1"); }},
      {"util", "void binaryStringToHex(const string&, std::string&)", "binaryStr.size() % 8 == 0",
       [](Stream& s) { binaryStringToHex("000011110000", s.text); }},
      {"util", "bool hexStringToBytes(const string&, std::vector<unsigned char>&)", "bytes.size() == 0",
       [](Stream& s) { hexStringToBytes("00", s.bytes); }},
      {"util", "void bytesToBits(const std::vector<unsigned char>&, std::vector<bool>&)",
       "bits.size() == bytes.size() * 8", [](Stream& s) { bytesToBits({}, s.flags); }},
      {"traverse", "BitstreamTraverser::BitstreamTraverser(Bitstream*)", "bitstream",
       [](Stream&) { BitstreamTraverser traverser(nullptr); }},
      {"traverse", "void BitstreamTraverser::setBitIndex(long unsigned int)", "index >= 0 && index < bs->getNumBits()",
       [](Stream& s) { s.traverser.setBitIndex(12); }},
      {"traverse", "bool BitstreamTraverser::expectBits(char, int, std::list<bool>&)", "0",
       [](Stream& s) { s.traverser.expectBits('2', 0, s.list); }},
      {"traverse", "void BitstreamTraverser::skipBits(int, std::list<bool>&, std::string&)",
       "bitIndex + bitsToSkip < bs->getNumBits()", [](Stream& s) { s.traverser.skipBits(12, s.list, s.text); }},
      {"ebr", "bool replaceEbrData(BitstreamTraverser&, std::vector<std::string>, int&, int, int, int, int, "
       "std::list<bool>&)", "startLine + INIT_LINES <= newData.size()",
       [](Stream& s) { replaceEbrData(s.traverser, {"00"}, s.startLine, 0, 1, 0, 0, s.list); }},
      {"files", "bool writeOutput(const string&, Bitstream&)", "bitstream.isByteAligned()",
       [](Stream& s) { writeOutput("/dev/null", s.bits); }},
      // clang-format on
  };
  for (const Row& row : rows) {
    const std::string message =
        std::string(row.signature) + ": Assertion `" + row.condition + "' failed.\n";
    std::string expression = ": ramgraft" + std::string(row.file) + "\\.cpp:[0-9]+: ";
    for (const char c : message) {
      expression += std::isalnum(c) ? std::string{c} : std::string{'[', c, ']'};
    }
    Stream stream;
    EXPECT_EXIT(row.breach(stream), testing::KilledBySignal(SIGABRT), expression);
  }
}

}  // namespace
