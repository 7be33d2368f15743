#include "selfcheck/ramgraftcheck.h"

#include <array>
#include <list>
#include <string>
#include <string_view>
#include <vector>

#include "console/lines.h"
#include "steps/ramgraftebr.h"
#include "steps/ramgraftutil.h"

namespace {

// Prints "TEST ERROR: " and the pieces unless the condition holds; returns the condition.
template <typename... Pieces>
bool expectThat(bool holds, const Pieces&... pieces) {
  if (!holds) printLine("TEST ERROR: ", pieces...);
  return holds;
}

void pushBits(Bitstream& bitstream, std::string_view digits) {
  for (const char digit : digits) bitstream.pushBit(digit == '1');
}

// Two 0 bits and 98 1 bits, in which no pattern of the checks occurs.
void pushFiller(Bitstream& bitstream) {
  pushBits(bitstream, "00");
  pushBits(bitstream, std::string(98, '1'));
}

}  // namespace

bool test_findBits(BitstreamTraverser& traverser) {
  printLine("test_findBits()");
  Bitstream& bitstream = *traverser.getBitstream();
  pushFiller(bitstream);
  pushBits(bitstream, "11101");
  pushFiller(bitstream);
  std::list<bool> newBits;
  traverser.findBits("11101", newBits);
  const bool isIndexRight = expectThat(traverser.bitIndex == 105, "Bitindex returned ",
                                       std::to_string(traverser.bitIndex));
  const bool isSizeRight =
      expectThat(newBits.size() == 105, "newBits.size() is ", std::to_string(newBits.size()));
  return isIndexRight && isSizeRight;
}

bool test_expectBits(BitstreamTraverser& traverser) {
  printLine("test_expectBits()");
  // The cursor stays where the routine before left it: past this stream's end.
  Bitstream bitstream(0);
  traverser.bs = &bitstream;
  pushBits(bitstream, "11111111");
  std::list<bool> newBits;
  if (!expectThat(traverser.expectBits('1', 8, newBits), "expectBits repeat failed")) return false;
  traverser.bitIndex = 0;
  return expectThat(traverser.expectBits("11111111", newBits), "expectBits failed");
}

bool test_checkBitsValue() {
  printLine("test_checkBitsValue()");
  bool passed = expectThat(checkBitsValue({false}, "0"), "checkBitsValues(0,0) returned false");
  passed &= expectThat(checkBitsValue({true}, "1"), "checkBitsValues(1,1) returned false");
  passed &=
      expectThat(checkBitsValue({true, false}, "10"), "checkBitsValue(10, 10) returned false");
  passed &= expectThat(!checkBitsValue({true}, "0"), "checkBitsValue(0,1) returned true");
  return passed;
}

bool test_intToBinaryString() {
  printLine("test_intToBinaryString()");
  std::string digits;
  intToBinaryString(3, 4, digits);
  return expectThat(digits == "0011", "intToBinaryString(3) returned ", digits);
}

bool test_binaryStringToInt() {
  printLine("test_binaryStringToInt()");
  const int value = binaryStringToInt("0101");
  return expectThat(value == 5, "binaryStringToInt(0101) returned ", std::to_string(value));
}

bool test_findEbrAddressSection() {
  printLine("test_findEbrAddressSection()");
  Bitstream bitstream(0);
  BitstreamTraverser traverser(&bitstream);
  pushFiller(bitstream);
  bitstream.pushByte(0xF6);
  pushBits(bitstream, std::string(36, '0'));
  pushFiller(bitstream);
  std::list<bool> newBits;
  findEbrAddressSection(traverser, newBits);
  return expectThat(traverser.getBitIndex() == 144, "bitIndex returned ",
                    std::to_string(traverser.getBitIndex()));
}

bool test_findEbrDataSection() {
  printLine("test_findEbrDataSection()");
  Bitstream bitstream(0);
  BitstreamTraverser traverser(&bitstream);
  bitstream.pushByte(0x00);
  pushBits(bitstream, "000");
  bitstream.pushByte(0xB2);
  bitstream.pushByte(0xD0);
  pushFiller(bitstream);
  int dataCount = 0;
  std::list<bool> newBits;
  findEbrDataSection(traverser, dataCount, newBits);
  return expectThat(traverser.getBitIndex() == 43, "bit index returned ",
                    std::to_string(traverser.getBitIndex()));
}

bool test_hexStringToBytes() {
  printLine("test_hexStringToBytes()");
  std::vector<unsigned char> bytes;
  const auto isTaken = [&](const char* digits) {
    bytes.clear();
    return hexStringToBytes(digits, bytes);
  };
  const auto gives = [&](const char* digits, const std::vector<unsigned char>& expected) {
    return isTaken(digits) && bytes == expected;
  };
  const bool passed = expectThat(gives("0F", {15}), "hexStringToBytes(F) != 15") &&
                      expectThat(gives("03", {3}), "hexStringToBytes(3) != 3") &&
                      expectThat(gives("6A", {106}), "hexStringToBytes(6A) != 106") &&
                      expectThat(gives("4C5D", {76, 93}), "hexStringToBytes(4C5D) != 76, 93") &&
                      expectThat(!isTaken("ZZZZ"), "hexStringToBytes(ZZZ) returned true");
  if (!passed || gives("FFF", {15, 255})) return passed;
  // GCOVR_EXCL_START: only a wrong conversion leads here
  for (std::size_t i = 0; i < bytes.size() && i < 2; ++i) printLine(std::to_string(bytes[i]));
  return expectThat(false, "hexStringToBytes(FFF) != 15, 255");
  // GCOVR_EXCL_STOP
}

bool test_bytesToBits() {
  printLine("test_bytesToBits()");
  std::vector<bool> bits;
  bytesToBits({0xF0, 0x55}, bits);
  return expectThat(bits.size() == 16, "num bits is ", std::to_string(bits.size())) &&
         expectThat(bits == std::vector<bool>{1, 1, 1, 1, 0, 0, 0, 0, 0, 1, 0, 1, 0, 1, 0, 1},
                    "conversion failed");
}

bool test_transformLogInitToPhy() {
  printLine("test_transformLogInitToPhy()");
  // Nothing is checked but that the call returns.
  const std::vector<std::string> memoryLines(2048, "11111111");
  std::vector<std::string> physicalLines;
  transformLogInitToPhy(memoryLines, 14, 32, 32, physicalLines);
  return true;
}

bool test_binaryStringToHex() {
  printLine("test_binaryStringToHex()");
  std::string digits;
  binaryStringToHex("11110000", digits);
  if (!expectThat(digits == "F0", "binaryStringToHex(11110000) returned ", digits)) return false;
  digits.clear();
  binaryStringToHex("0000001100001111", digits);
  return expectThat(digits == "030F", "binaryStringToHex(0000001100001111) returned ", digits);
}

void runUnitTests() {
  Bitstream bitstream(0);
  BitstreamTraverser traverser(&bitstream);
  const std::array results = {
      test_findBits(traverser),     test_expectBits(traverser), test_checkBitsValue(),
      test_intToBinaryString(),     test_binaryStringToInt(),   test_findEbrAddressSection(),
      test_findEbrDataSection(),    test_hexStringToBytes(),    test_bytesToBits(),
      test_transformLogInitToPhy(), test_binaryStringToHex()};
  bool passed = true;
  for (const bool result : results) passed = passed && result;
  printLine(passed ? "TEST RESULT: Unit tests pass!" : "TEST RESULT: Unit tests FAIL!");
}
