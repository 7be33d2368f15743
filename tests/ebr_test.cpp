// An EBR's commands in the stream, and the way of memory words into its payload.
#include <gtest/gtest.h>

#include "fixture.h"
#include "ramgraftebr.h"

namespace {

// What an operation leaves: its result, the cursor, and how many bits it reported.
using Outcome = std::tuple<bool, unsigned long, std::size_t>;

template <typename Operation>
Outcome traverse(const std::string& stream, unsigned long start, Operation operation) {
  Bitstream bitstream(0);
  pushDigits(bitstream, stream);
  BitstreamTraverser traverser(&bitstream);
  while (traverser.getBitIndex() < start) traverser.incrementBitIndex();
  std::list<bool> newBits = {true};  // something of the caller's
  const bool result = operation(traverser, newBits);
  std::string reported;
  for (const bool bit : newBits) reported += bit ? '1' : '0';
  const std::string passed = start < stream.size() ? stream.substr(start) : "";
  EXPECT_EQ(reported.substr(1), passed.substr(0, reported.size() - 1)) << stream;
  return {result, traverser.getBitIndex(), newBits.size() - 1};
}

const std::string FILLER = "00" + std::string(98, '1');
const std::string OPCODE = digits(0xF6, 8);

TEST(EbrLocation, FindsAddressSections) {
  const std::string zeros(36, '0');
  const std::tuple<std::string, Outcome> rows[] = {
      {FILLER + OPCODE + zeros + FILLER, {true, 144, 144}},
      {OPCODE + "0001" + OPCODE + zeros + "1", {true, 56, 56}},
      {OPCODE + "000", {true, 11, 11}},  // cut short by the end
      {"", {false, 0, 0}},
  };
  for (const auto& [stream, expected] : rows)
    EXPECT_EQ(traverse(stream, 0, findEbrAddressSection), expected);
  // An opcode on the last bits is read to its end, and its last bit once more.
  Bitstream bitstream(0);
  pushDigits(bitstream, OPCODE);
  BitstreamTraverser traverser(&bitstream);
  std::list<bool> newBits;
  EXPECT_FALSE(findEbrAddressSection(traverser, newBits));
  EXPECT_EQ(newBits.size(), 9U);
}

TEST(EbrLocation, ChecksTheDataSection) {
  const std::string good = digits(0, 11) + digits(0xB2D0, 16) + digits(16383, 16) + "1";
  const auto flip = [&](std::size_t bit) {
    std::string damaged = good;
    damaged[bit] = damaged[bit] == '1' ? '0' : '1';
    return damaged;
  };
  const std::tuple<std::string, Outcome, const char*> rows[] = {
      {good, {true, 43, 43}, ""},
      {flip(0), {true, 43, 43}, ""},
      {flip(11), {false, 11, 11}, "ERROR: didn't find TAV_EBR_WRITE\n"},
      {flip(26), {false, 19, 19}, "ERROR: didn't find CRC/dummy bits after TAV_EBR_WRITE\n"},
      {good.substr(0, 11),
       {false, 0, 0},
       "ERROR: bitstream ends inside the 11 bits behind the EBR identifier, at bit 0\n"},
      {good.substr(0, 43),
       {false, 27, 27},
       "ERROR: bitstream ends inside the frame count of TAV_EBR_WRITE, at bit 27\n"},
  };
  for (const auto& [stream, expected, line] : rows) {
    int dataCount = -1;
    Outcome outcome;
    EXPECT_EQ(outputOf([&, &stream = stream] {
                outcome = traverse(stream, 0, [&](auto& traverser, auto& newBits) {
                  return findEbrDataSection(traverser, dataCount, newBits);
                });
              }),
              line);
    EXPECT_EQ(outcome, expected) << line;
    EXPECT_EQ(dataCount, std::get<0>(expected) ? 16383 : -1);
  }
}

using Lines = std::vector<std::string>;

Lines transform(const Lines& words, int dataWidth, int numEbrs) {
  Lines lines;
  transformLogInitToPhy(words, 14, dataWidth, numEbrs, lines);
  return lines;
}

std::string zeros(std::size_t count) { return std::string(count, '0'); }

TEST(Transform, MakesPhysicalLines) {
  std::string repeated;
  for (int i = 0; i < 128; ++i) repeated += "1FEFF";
  const Lines many = transform(Lines(2048, "11111111"), 32, 32);
  ASSERT_EQ(many.size(), 32U);
  for (std::size_t i = 0; i < many.size(); ++i) {
    EXPECT_EQ(many[i], i % 4 == 0 ? zeros(15744) + repeated : zeros(16384)) << i;
  }
  EXPECT_EQ(transform({"A5", "3C", "0F", "F0"}, 8, 2),
            (Lines{zeros(16379) + "01E3A", zeros(16379) + "1E0C5"}));
  EXPECT_EQ(transform({"FF", "", "FF", "FF"}, 8, 1), (Lines{zeros(16377) + "FF1FEFF"}));
  EXPECT_EQ(transform({"a5A", "3C"}, 8, 1), transform({"0A", "5A", "3C"}, 8, 1)) << "odd digits";
  EXPECT_EQ(transform({}, 7, 3), Lines(3, zeros(16384)));
  EXPECT_EQ(transform({"A5", "30"}, 8, 3).size(), 3U) << "groups of two bits rotate";
  EXPECT_EQ(outputOf([] { EXPECT_EQ(transform({"12G4"}, 8, 1), transform({"12"}, 8, 1)); }),
            "ERROR: character G is not hexadecimal!\n");
}

// A stream that begins with `before` and goes on with an EBR of `frames` frames; the cursor stands
// on its payload.
struct Ebr {
  explicit Ebr(unsigned frames, const std::string& payload = "1", const std::string& before = "")
      : bitstream(0), traverser(&bitstream) {
    pushDigits(bitstream, before + ebrDigits("000000101", frames, payload));
    traverser.setBitIndex(before.size() + 96);
  }
  std::string fields(std::size_t begin) const { return digitsOf(bitstream).substr(begin); }

  Bitstream bitstream;
  BitstreamTraverser traverser;
  std::list<bool> newBits;
};

TEST(Replacement, WritesPayloadAndCrc) {
  const Lines lines = transform({"A5", "3C", "0F", "F0"}, 8, 2);
  Ebr first(1);
  int startLine = 0;
  EXPECT_TRUE(replaceEbrData(first.traverser, lines, startLine, 1, 2, 0, 0, first.newBits));
  EXPECT_EQ(first.fields(96), "000111010000001111" + zeros(54) + "0000011111111101");
  EXPECT_EQ(startLine, 1);
  EXPECT_EQ(first.newBits.size(), 72U);
  EXPECT_EQ(first.traverser.getBitIndex(), first.bitstream.getNumBits());
  Ebr second(1);
  EXPECT_TRUE(replaceEbrData(second.traverser, lines, startLine, 1, 2, 0, 0, second.newBits));
  EXPECT_EQ(second.fields(96).substr(0, 72), "011000101011110000" + zeros(54));
  EXPECT_EQ(startLine, 2);
}

TEST(Replacement, RefusesWhatDoesNotFitBeforeWritingABit) {
  Ebr ebr(2);
  const std::string before = ebr.fields(0);
  int startLine = 0;
  EXPECT_EQ(outputOf([&] {
              EXPECT_FALSE(replaceEbrData(ebr.traverser, transform({}, 8, 1), startLine, 3, 1, 0, 0,
                                          ebr.newBits));
            }),
            "ERROR: bitstream ends inside the EBR data: frame count 3, bits needed for payload and "
            "CRC 232, bits left 160 at bit 96\n");
  EXPECT_EQ(ebr.fields(0), before);
}

TEST(Replacement, BySectionsOfALineEqualsTheOneStraightFromTheWords) {
  // Columns short, exactly as long as a physical line, and longer; payloads short and long; EBRs on
  // and off a byte boundary.
  std::mt19937_64 random(4);
  for (const std::size_t wordBytes : {0UL, 3UL, 6553UL, 6557UL, 8001UL}) {
    std::vector<unsigned char> bytes(wordBytes);
    for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random());
    EbrContents contents(1, 8);
    contents.appendBytes(bytes);
    EbrColumns columns(contents);
    const std::uint64_t length =
        std::max<std::uint64_t>(65536, columnLength(contents.getColumnBits(0)));
    ASSERT_EQ(length % 8, 0U) << wordBytes;
    for (const unsigned frames : {0U, 1U, 819U, 820U, 1100U}) {
      for (const char* before : {"", "1", "1111111"}) {
        Ebr byLine(frames, "10", before), byWords(frames, "10", before);
        int startLine = 0;
        const int dataCount = static_cast<int>(frames);
        replaceEbrData(byLine.traverser, {makePhysicalLine(columns, 0)}, startLine, dataCount, 1, 0,
                       0, byLine.newBits);
        const bool isTooMuch = wordBytes > std::min<std::size_t>(8UL * frames, length / 20 * 2);
        const std::string warning =
            outputOf([&] { replaceEbrContents(byWords.traverser, columns, 0, dataCount, "w"); }, 2);
        EXPECT_EQ(!warning.empty(), isTooMuch) << warning;
        ASSERT_EQ(byLine.fields(0), byWords.fields(0)) << wordBytes << " " << frames << before;
        ASSERT_EQ(byLine.traverser.getBitIndex(), byWords.traverser.getBitIndex());
      }
    }
  }
}

TEST(Crc, CoversTheBytesBeforeTheField) {
  const std::tuple<const char*, int, const char*> rows[] = {
      {"123456789", 72, "\xFE\xE8"}, {"x123456789", 72, "\xFE\xE8"}, {"123456789", 73, "\xFE\xE8"},
      {"123456789", 74, "\0\0"},     {"123456789", 7, "\0\0"},       {"123456789", -8, "\0\0"}};
  for (const auto& [text, numBits, crc] : rows) {
    Bitstream bitstream(0);
    pushBytes(bitstream, std::string(text) + "\x55\x55");
    BitstreamTraverser traverser(&bitstream);
    traverser.setBitIndex(std::string(text).size() * 8);
    std::list<bool> newBits;
    writeEbrCrc(traverser, numBits, newBits);
    const std::string field = digitsOf(bitstream).substr(std::string(text).size() * 8);
    EXPECT_EQ(packDigits(field), std::string(crc, 2)) << text << numBits;
    EXPECT_TRUE(newBits.empty());
  }
}

}  // namespace
