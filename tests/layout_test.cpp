// Maps of memories, where their EBRs are, and how bytes are dealt to them; text words.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "fixture.h"
#include "inputs/wordtext.h"
#include "layout/addresses.h"
#include "layout/ebrtable.h"
#include "layout/number.h"
#include "layout/placement.h"

namespace {

using Bytes = std::vector<unsigned char>;

void write(const std::string& name, const std::string& text) {
  outputOf([] {});  // makes the working folder
  std::ofstream(name, std::ios::binary) << text;
}

// A width file of EBRs with consecutive identifiers.
void writeWid(const std::string& name, unsigned first, unsigned numEbrs, unsigned bitsPerEbr) {
  std::string text;
  for (unsigned i = 0; i < numEbrs; ++i) text += "0b" + digits(first + i, 9) + "\n";
  write(name, text + "aw5;dw" + std::to_string(numEbrs * bitsPerEbr));
}

std::string readText(const std::string& text, Map& map) {
  write("m.toml", text);
  return readMap("m.toml", map);
}

constexpr char MAP[] =
    "version = 1\n"
    "[memory.rom]\n"
    "base = 0x1000\n"
    "words = 8\n"
    "order = \"little\"\n"
    "wid = [\"a.wid\", \"b.wid\"]\n"
    "fill = 0x13\n"
    "[memory.ram]\n"
    "base = 0x2000\n"
    "words = [2, 3]\n"
    "order = \"big\"\n"
    "wid = [[\"c.wid\", \"d.wid\"], \"e.wid\"]\n"
    "also-at = [0x3000, \"0xFFFF_FFFF_FFFF_FFF6\"]\n"
    "[memory.odd]\n"
    "words = 4\n"
    "wid = \"nine.wid\"\n"
    "[outside.flash]\n"
    "base = 0x4000\n"
    "bytes = 16\n";

void writeWids() {
  writeWid("a.wid", 0, 2, 8);
  writeWid("b.wid", 2, 2, 8);
  writeWid("c.wid", 4, 1, 8);
  writeWid("d.wid", 5, 2, 4);
  writeWid("e.wid", 7, 4, 4);
  writeWid("nine.wid", 11, 3, 3);
  writeWid("again.wid", 3, 2, 8);
  write("long.wid", "0b0000000000\naw1;dw16");
  write("mixed.wid", "0b0000\n\n010000\naw1;dw16");
  write("uneven.wid", "000010000\n\n000010001\n\naw1;dw17");
  write("empty.wid", "");
  write("few.wid", "0b1\n0b0\naw1;dw1");
}

TEST(Map, IsReadAsWritten) {
  writeWids();
  Map map;
  ASSERT_EQ(readText(std::string("\xEF\xBB\xBF") + MAP, map), "");
  ASSERT_EQ(map.memories.size(), 3U);
  const Memory& rom = map.memories[0];
  const Memory& ram = map.memories[1];
  const Memory& odd = map.memories[2];
  EXPECT_EQ(rom.name + ram.name + odd.name, "romramodd");
  EXPECT_EQ(rom.fillWord(), (Bytes{0x13, 0}));
  EXPECT_EQ(rom.parts[1].firstWord, 4U);
  EXPECT_EQ(ram.bases, (std::vector<std::uint64_t>{0x2000, 0x3000, 0xFFFFFFFFFFFFFFF6}));
  EXPECT_EQ(ram.parts[0].lanes[1].firstBit, 8U);
  EXPECT_EQ(ram.parts[1].words, 3U);
  EXPECT_EQ(odd.bytes(), 8U);
  EXPECT_EQ(map.identifierBits, 9U);
  EXPECT_EQ(map.inputs.size(), 7U);
  const AddressSpace space(map);
  EXPECT_EQ(space.nameOf(*space.find(UINT64_MAX)), "ram");
  EXPECT_EQ(space.nameOf(*space.find(0x400F)) + space.nameOf(*space.lastBefore(0x3000)),
            "flashram");
  EXPECT_EQ(space.find(0x4010), nullptr);
  EXPECT_EQ(space.firstAfter(0x4000)->first, 0xFFFFFFFFFFFFFFF6);
  const EbrTable table(map);
  const MapEbr ebr = *table.find("000001001");
  EXPECT_EQ((std::vector{ebr.memory, ebr.part, ebr.lane, ebr.ebr}),
            (std::vector<std::size_t>{1, 1, 0, 2}));
}

struct Change {
  std::string from, to, sentence;
};

const Change CHANGES[] = {
    {"version = 1", "version = 1\n\"a\\nb\" = 1",
     "m.toml, line 2: unknown key a\\x0Ab; did you mean memory?"},
    {"version = 1", "version = " + std::string(100000, '['),
     "m.toml, line 1, column 19: Error while parsing value: exceeded maximum nested value depth of "
     "8 "
     "(TOML_MAX_NESTED_VALUES)"},
    {"version = 1", "a." + std::string(1000, '.') + "b = 1", "m.toml, line 1: too many dots"},
    {"version = 1", "version = 1 # \xC3\xA4", ""},
    {"version = 1", "a = '#\xFF'",
     "m.toml, line 1: not ASCII, outside a comment; \\u00E4 spells one in a string"},
    {"version = 1", "version = 1 #" + std::string(17 << 20, ' '), "m.toml: too long for a map"},
};

TEST(Map, RefusesWithOneSentence) {
  writeWids();
  std::vector<Change> changes(std::begin(CHANGES), std::end(CHANGES));
  for (auto [command, sentence] : readCases("map_cases.txt")) {
    for (std::size_t at; (at = command.find("\\n")) != command.npos;) command.replace(at, 2, "\n");
    const std::size_t arrow = command.find(" => ");
    changes.push_back({command.substr(0, arrow), command.substr(arrow + 4), sentence});
  }
  for (const auto& [from, to, sentence] : changes) {
    std::string text = MAP;
    text.replace(text.find(from), from.size(), to);
    Map map;
    EXPECT_EQ(readText(text, map), sentence) << to.substr(0, 100);
  }
  Map map;
  EXPECT_EQ(readMap("/dev/zero", map), "/dev/zero: too long for a map");
}

TEST(Placement, RefusesWithOneSentence) {
  writeWids();
  const auto command = [](unsigned id, unsigned frames) {
    return ebrDigits(digits(id, 9), frames, "0");
  };
  std::string stream;
  for (unsigned id = 0; id < 14; ++id) stream += command(id, 1);
  const auto place = [&](const std::string& from, const std::string& bits) {
    std::string text = MAP;
    if (!from.empty()) text.replace(text.find(from), from.size(), "words = [8, 9]");
    Map map;
    EXPECT_EQ(readText(text, map), "");
    Bitstream bitstream(0);
    pushDigits(bitstream, bits);
    Placement placement;
    return placeMap(map, "in.bit", bitstream, false, placement);
  };
  EXPECT_EQ(place("", stream), "");
  EXPECT_EQ(place("words = 8", stream),
            "m.toml, line 2: rom has 9 words in part 2, the EBRs of b.wid hold 8");
  EXPECT_EQ(place("", stream.substr(command(0, 1).size())),
            "a.wid, line 1: EBR 000000000 isn't in in.bit, which has 13 EBRs with identifiers of 9 "
            "bits");
  EXPECT_EQ(place("", stream + command(1, 0)),
            "in.bit: EBR 000000001 (a.wid) is there twice, at bits 184 and 2576");
  EXPECT_EQ(
      place("", command(9, 1).substr(0, 72) + stream),
      "in.bit: EBR 000001001 (e.wid) can't be used: no CRC/dummy bits after TAV_EBR_WRITE at bit "
      "72");
}

// ---- Text words ----

// The runs of a text with words of two bytes, or what is wrong with it.
std::string readWords(const std::string& words, std::uint64_t wordBits, std::endian order) {
  std::string text;
  const WordTextFault fault = readWordText(words, wordBits, order, [&](const WordRun& run) {
    text += spellHex(run.firstWord) + " line " + std::to_string(run.line) + "/" +
            std::to_string(run.lineWords) + ":";
    for (std::size_t i = 0; i < run.bytes.size(); ++i) {
      text += (i % 2 == 0 ? " " : "") + spellHex(run.bytes[i], 2).substr(2);
    }
    text += "; ";
    return "";
  });
  if (fault.text.empty()) return text;
  return std::to_string(fault.line) + ":" + std::to_string(fault.column) + " " + fault.text;
}

TEST(WordText, IsReadOrRefused) {
  const std::vector<std::pair<std::string, std::string>> CASES = {
      {"", ""},
      {"1 2_3\r\n4 fF", "0x0 line 1/2: 0001 0023 0004 00FF; "},
      {"1\n2 3\n4", "0x0 line 1/1: 0001 0002; 0x2 line 2/1: 0003 0004; "},
      {"1 2\n3\n4", "0x0 line 1/2: 0001 0002 0003; 0x3 line 3/1: 0004; "},
      {"1//2\n# 3\n/* 4\n5 */6@1_0 7",
       "0x0 line 1/1: 0001; 0x1 line 4/1: 0006; 0x10 line 4/1: 0007; "},
      {"0_0000_0FFF", "0x0 line 1/1: 0FFF; "},
      {"@ffffFFFFffffFFFF 1", "0xFFFFFFFFFFFFFFFF line 1/1: 0001; "},
      {"@ffffFFFFffffFFFF 1 2", "1:21 no word address is left"},
      {"@10000000000000000", "1:1 a word address of more than 64 bits"},
      {"1\n\t1000", "2:2 a word of 13 bits, the memory's have 12"},
      {"1\n 1x0", "2:3 the digit x has no value"},
      {"_1", "1:1 not a hexadecimal digit: _"},
      {"1 /2", "1:3 not a hexadecimal digit: /"},
      {"1\x80", "1:2 not a hexadecimal digit: 0x80"},
      {"@", "1:2 the text ends where a number must come"},
      {"1\n/* \n", "2:1 a comment without end"},
  };
  for (const auto& [text, expected] : CASES) {
    EXPECT_EQ(readWords(text, 12, std::endian::big), expected) << text;
  }
  EXPECT_EQ(readWords("1234 @3 5", 14, std::endian::little),
            "0x0 line 1/1: 3412; 0x3 line 1/1: 0500; ");
}

}  // namespace
