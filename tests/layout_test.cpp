// Maps of memories, where their EBRs are, and how bytes are dealt to them; text words.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "ebr/graft.h"
#include "fixture.h"
#include "inputs/wordtext.h"
#include "layout/addresses.h"
#include "layout/deal.h"
#include "layout/ebrtable.h"
#include "layout/number.h"

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
    {"version = 1", "version = 2", "m.toml, line 1: version must be 1, the only one that is known"},
    {"version = 1", "", "m.toml: version is missing"},
    {"version = 1", "version = 1\nversion = 1",
     "m.toml, line 2, column 11: Error while parsing key-value pair: cannot redefine existing "
     "integer "
     "'version'"},
    {"version = 1", "version = 1\nmemroy = 1",
     "m.toml, line 2: unknown key memroy; did you mean memory?"},
    {"version = 1", "version = 1\n\"a\\nb\" = 1",
     "m.toml, line 2: unknown key a\\x0Ab; did you mean memory?"},
    {"words = 8", "wrods = 8",
     "m.toml, line 4: unknown key wrods in memory.rom; did you mean words?"},
    {"words = 8\n", "", "m.toml, line 2: memory.rom has no words"},
    {"words = 8", "words = 0", "m.toml, line 4: memory.rom.words must be at least 1"},
    {"words = 8", "words = []", "m.toml, line 4: memory.rom.words is an empty list"},
    {"words = 8", "words = 9",
     "m.toml, line 4: rom: 9 words can't be shared out equally among 2 parts"},
    {"words = 8", "words = [1, 2, 3]", "m.toml, line 4: rom: 3 numbers of words for 2 parts"},
    {"words = 8", "words = \"0xFFFF_FFFF_FFFF_FFFE\"",
     "m.toml, line 4: rom: more bytes than addresses"},
    {"words = 4", "words = 0x100_0000_0000", ""},
    {"words = 8", "words = 1.5",
     "m.toml, line 4: memory.rom.words must be a number from 0 to 2^64 - 1; one above 2^63 - 1 is "
     "written as a string, \"0xFFFF_0000_0000_0000\""},
    {"base = 0x1000", "base = 0xFFFF_FFFF_BE00_0000",
     "m.toml, line 3, column 29: numbers above 2^63 - 1 are written as a string, \"0x...\""},
    {"base = 0x1000", "base = \"1__0\"",
     "m.toml, line 3: memory.rom.base must be a number from 0 to 2^64 - 1; one above 2^63 - 1 is "
     "written as a string, \"0xFFFF_0000_0000_0000\""},
    {"base = 0x1000", "base = \"0xFFFF_FFFF_FFFF_FFF1\"",
     "m.toml, line 3: rom: 16 bytes from 0xFFFFFFFFFFFFFFF1 on run past the address 2^64 - 1"},
    {"base = 0x1000", "base = 0x1FFF",
     "m.toml, line 8: ram shares addresses from 0x00002000 on with rom (line 2)"},
    {"base = 0x1000", "base = 0x400F",
     "m.toml, line 17: flash shares addresses from 0x0000400F on with rom (line 2)"},
    {"base = 0x1000", "base = 0x1000\nalso-at = 0x1001",
     "m.toml, line 2: rom shares addresses from 0x00001001 on with itself"},
    {"base = 0x1000", "also-at = 1", "m.toml, line 3: rom: also-at without base"},
    {"order = \"little\"", "order = \"middle\"",
     "m.toml, line 5: memory.rom.order must be \"little\" or \"big\""},
    {"order = \"little\"\n", "", "m.toml, line 2: rom: order is missing: \"little\" or \"big\""},
    {"fill = 0x13", "fill = \"0x1_0000\"",
     "m.toml, line 7: rom: fill doesn't fit a word of 16 bits"},
    {"fill = 0x13", "fill = \"-1\"",
     "m.toml, line 7: memory.rom.fill must be a number; a large one is written as a string, "
     "\"0x...\""},
    {"words = 4", "words = 4\norder = \"big\"",
     "m.toml, line 16: odd: words of 9 bits have neither addresses nor an order"},
    {"[memory.odd]", "[memory.\"o d\"]",
     "m.toml, line 14: memory.o d is no name: one has letters, digits, _ . -, and begins with a "
     "letter or _"},
    {"[memory.odd]", "[memory.odd.rom]",
     "m.toml, line 14: unknown key rom in memory.odd; did you mean wid? Write a name with a dot "
     "in "
     "quotes."},
    {"[memory.odd]", "[[memory.odd]]", "m.toml, line 14: memory.odd must be a table"},
    {"bytes = 16", "", "m.toml, line 17: outside.flash has no bytes"},
    {"bytes = 16", "bytes = 0", "m.toml, line 19: outside.flash.bytes must be at least 1"},
    {"base = 0x4000", "base = \"0xFFFFFFFFFFFFFFFF\"",
     "m.toml, line 17: flash: 16 bytes from 0xFFFFFFFFFFFFFFFF on run past the address 2^64 - 1"},
    {"\"nine.wid\"", "[[\"nine.wid\"], 3]",
     "m.toml, line 16: memory.odd.wid must be the name of a width file, or a list of them, or of "
     "such lists"},
    {"\"nine.wid\"", "[[]]", "m.toml, line 16: memory.odd.wid has an empty list"},
    {"\"nine.wid\"", "[\"nine.wid\", \"long.wid\"]",
     "long.wid, line 1: this wid has 10 bits, the map's first has 9"},
    {"\"nine.wid\"", "\"./a.wid\"", "m.toml, line 16: ./a.wid is used twice"},
    {"\"nine.wid\"", "\"again.wid\"",
     "again.wid, line 1: EBR 000000011 is in two places: rom has it from b.wid"},
    {"\"nine.wid\"", "\"uneven.wid\"",
     "uneven.wid, line 5: dw17 isn't a multiple of the 2 EBRs of uneven.wid"},
    {"\"nine.wid\"", "\"mixed.wid\"",
     "mixed.wid, line 1: this wid has 4 bits, the map's first has 9"},
    {"\"nine.wid\"", "\"none.wid\"",
     "m.toml, line 16: can't open file none.wid: No such file or directory"},
    {"\"nine.wid\"", "\"/\"", "m.toml, line 16: can't read file /: Is a directory"},
    {"\"nine.wid\"", "\"empty.wid\"", "empty.wid: the width file is empty"},
    {"\"nine.wid\"", "\"few.wid\"",
     "few.wid, line 3: a data width of 1 bits can't be shared out among 2 EBRs"},
    {"\"e.wid\"", "\"nine.wid\"", "m.toml, line 12: part 2 of ram is 9 bits wide, part 1 is 16"},
    {"version = 1", "version = " + std::string(100000, '['),
     "m.toml, line 1, column 19: Error while parsing value: exceeded maximum nested value depth of "
     "8 "
     "(TOML_MAX_NESTED_VALUES)"},
    {"version = 1", "a." + std::string(1000, '.') + "b = 1", "m.toml, line 1: too many dots"},
    {"version = 1", "version = 1 # \xC3\xA4", ""},
    {"\"nine.wid\"", "\"\"\"nine.wid\"\"\"",
     "m.toml, line 16: a map has no strings of several lines"},
    {"version = 1", "a = '#\xFF'",
     "m.toml, line 1: not ASCII, outside a comment; \\u00E4 spells one in a string"},
    {"version = 1", "version = 1 #" + std::string(17 << 20, ' '), "m.toml: too long for a map"},
};

TEST(Map, RefusesWithOneSentence) {
  writeWids();
  for (const auto& [from, to, sentence] : CHANGES) {
    std::string text = MAP;
    text.replace(text.find(from), from.size(), to);
    Map map;
    EXPECT_EQ(readText(text, map), sentence) << to.substr(0, 100);
  }
  Map map;
  EXPECT_EQ(readMap("/dev/zero", map), "/dev/zero: too long for a map");
}

// ---- Placing and dealing ----

// A random memory "m", and a stream that has its EBRs and others.
struct RandomMemory {
  explicit RandomMemory(std::mt19937_64& random) {
    const auto below = [&](unsigned n) { return static_cast<unsigned>(random() % n); };
    std::vector<std::pair<unsigned, unsigned>> lanes(1 + below(3));  // EBRs, bits in each
    for (auto& [ebrs, bits] : lanes) {
      const unsigned usual[] = {1, 2, 4, 8, 8, 1 + below(16)};
      ebrs = 1 + below(8), bits = usual[below(6)];
    }
    std::string words, wid, stream = digits(random(), below(9));
    unsigned id = 0;
    for (unsigned part = 1 + below(4); part > 0; --part) {
      std::ranges::shuffle(lanes, random);
      const unsigned frames = 1 + below(3);
      std::uint64_t held = UINT64_MAX;
      wid += "[";
      for (const auto& [ebrs, bits] : lanes) {
        const std::string name = std::to_string(id) + ".wid";
        writeWid(name, id, ebrs, bits);
        wid += "\"" + name + "\", ";
        held = std::min<std::uint64_t>(held, frames * 64 / bits);
        for (unsigned i = 0; i < ebrs; ++i, ++id) {
          // Some contents spell a command of another EBR of the map.
          const std::string old =
              below(3) == 0 ? ebrDigits(digits(0, 9), 0, "0").substr(0, 71) : digits(random(), 64);
          stream += ebrDigits(digits(id, 9), frames + below(2), old) + digits(0, below(20));
        }
      }
      wid += "], ";
      words += std::to_string(below(2) == 0 ? held : 1 + random() % held) + ", ";
    }
    text = "version = 1\n[memory.m]\nwords = [" + words + "]\nwid = [" + wid + "]\n";
    pushDigits(bitstream, stream);
  }

  std::string text;
  Bitstream bitstream{0};
};

// The bit of the stream that has bit number `bit` of word number `word` of a lane.
std::uint64_t plainPlace(const Lane& lane, std::span<const EbrCommand> commands, std::uint64_t word,
                         std::uint64_t bit) {
  const std::uint64_t ebr = bit / lane.bitsPerEbr;  // the first has the lowest bits
  const std::uint64_t dataBit =
      word * lane.bitsPerEbr + lane.bitsPerEbr - 1 - bit % lane.bitsPerEbr;
  return commands[ebr].payloadIndex + dataBit / 8 * 9 + 1 + (7 - dataBit % 8);
}

bool bitOf(const Memory& memory, const Bytes& image, std::uint64_t word, std::uint64_t bit) {
  const std::uint64_t wordBytes = (memory.wordBits + 7) / 8;
  const bool isLittle = memory.order == std::endian::little;
  const std::uint64_t byte = isLittle ? bit / 8 : wordBytes - 1 - bit / 8;
  return (image[word * wordBytes + byte] >> bit % 8 & 1) != 0;
}

void graftAll(const Memory& memory, const Placement& placement, const Bytes& image,
              Bitstream& bitstream) {
  for (const Part& part : memory.parts) {
    for (const Lane& lane : part.lanes) {
      const MemoryWords words = dealLane(memory, part, lane, image);
      EbrColumns columns(words);
      for (std::size_t ebr = 0; ebr < lane.wids.size(); ++ebr) {
        replaceContents(bitstream, placement.getCommands(lane)[ebr], columns, ebr);
      }
    }
  }
}

// How many bits of the image the stream has elsewhere than in the plain place.
std::size_t countMisplaced(const Memory& memory, const Placement& placement, const Bytes& image,
                           const Bitstream& bitstream) {
  std::size_t misplaced = 0;
  for (const Part& part : memory.parts) {
    std::uint64_t firstBit = 0;
    for (const Lane& lane : part.lanes) {
      for (std::uint64_t i = 0; i < part.words * lane.bits; ++i) {
        const std::uint64_t word = i / lane.bits, bit = i % lane.bits;
        const std::uint64_t place = plainPlace(lane, placement.getCommands(lane), word, bit);
        const bool expected = bitOf(memory, image, part.firstWord + word, firstBit + bit);
        misplaced += bitstream.getBit(place) != expected;
      }
      firstBit += lane.bits;
    }
  }
  return misplaced;
}

TEST(Deal, PutsEveryBitInItsPlaceAndReadsItBack) {
  for (std::uint64_t seed = 0; seed < 400; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937_64 random(seed);
    RandomMemory made(random);
    Map map;
    Placement placement;
    ASSERT_EQ(readText(made.text, map), "");
    ASSERT_EQ(placeMap(map, "in.bit", made.bitstream, placement), "");
    Memory& memory = map.memories.front();
    if (memory.hasByteAddresses())
      memory.order = random() % 2 == 0 ? std::endian::little : std::endian::big;
    Bytes image(memory.bytes());
    for (unsigned char& byte : image) byte = static_cast<unsigned char>(random());
    const unsigned unused = static_cast<unsigned>(memory.wordBytes() * 8 - memory.wordBits);
    for (std::size_t i = 0; unused != 0 && i < image.size(); i += memory.wordBytes()) {
      image[i] = static_cast<unsigned char>(image[i] & 0xFFU >> unused);
    }
    graftAll(memory, placement, image, made.bitstream);
    EXPECT_EQ(countMisplaced(memory, placement, image, made.bitstream), 0U);
    Bytes found(image.size(), 0xFF);
    for (std::size_t part = 0; part < memory.parts.size(); ++part) {
      readPart(made.bitstream, memory, part, placement, found);
    }
    EXPECT_EQ(found, image);
  }
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
    return placeMap(map, "in.bit", bitstream, placement);
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

std::string spell(const WordText& words, std::size_t wordBytes) {
  std::string text;
  for (const WordRun& run : words.runs) {
    text += spellHex(run.firstWord) + " line " + std::to_string(run.line) + "/" +
            std::to_string(run.lineWords) + ":";
    for (std::size_t i = 0; i < run.words * wordBytes; ++i) {
      text +=
          (i % wordBytes == 0 ? " " : "") + spellHex(words.bytes[run.firstByte + i], 2).substr(2);
    }
    text += "; ";
  }
  return text;
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
    WordText words;
    const WordTextFault fault = readWordText(text, 12, std::endian::big, words);
    const std::string place = std::to_string(fault.line) + ":" + std::to_string(fault.column) + " ";
    EXPECT_EQ(fault.text.empty() ? spell(words, 2) : place + fault.text, expected) << text;
  }
  WordText words;
  EXPECT_EQ(readWordText("12345", 20, std::endian::little, words).text, "");
  EXPECT_EQ(words.bytes, (Bytes{0x45, 0x23, 0x01}));
}

}  // namespace
