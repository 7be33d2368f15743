// Firmware files: what is read from each format, and what is refused.
#include <gtest/gtest.h>

#include <array>
#include <cinttypes>

#include "base/digits.h"
#include "firmware/elffile.h"
#include "firmware/format.h"
#include "firmwarefiles.h"
#include "fixture.h"

namespace {

std::string hex(std::int64_t value) {
  std::array<char, 20> text = {};
  std::snprintf(text.data(), text.size(), "%s%" PRIx64, value < 0 ? "-" : "", std::abs(value));
  return text.data();
}

// The highest addresses are negative.
std::string spellAddress(std::uint64_t value, bool isWide) {
  return hex(isWide ? static_cast<std::int64_t>(value) : static_cast<std::int32_t>(value));
}

// The symbols of an ELF file named f, or what is wrong with it.
std::string readSymbols(const std::string& bytes, bool isWide = true) {
  std::vector<Symbol> symbols;
  std::string text = readElfSymbols("f", {dataOf(bytes), bytes.size()}, symbols);
  for (const Symbol& symbol : symbols) {
    text += std::string(symbol.name) + (symbol.isAbsolute ? ":=" : "=") +
            spellAddress(symbol.address, isWide) + " ";
  }
  return text;
}

// What a file named f contains, or what is wrong with it.
std::string read(Format format, const std::string& bytes, bool isWide = true) {
  std::string text;
  const auto addPiece = [&](const Piece& piece) {
    text += piece.section + "@" + spellAddress(piece.address, isWide) + "=";
    text.append(piece.bytes.begin(), piece.bytes.end());
    for (std::size_t i = 0; i < piece.bytes.size() && piece.line != 0; ++i) {
      text += std::to_string(piece.lineOf(i));
    }
    text += " ";
    return "";
  };
  FirmwareFacts facts;
  const std::string fault =
      readFirmware(format, "f", {dataOf(bytes), bytes.size()}, facts, addPiece);
  if (!fault.empty()) return fault;
  if (format == Format::ELF) {
    const std::string symbols = readSymbols(bytes, isWide);
    if (symbols.starts_with("f: ")) return symbols;
    text += symbols;
  }
  for (const std::string& note : facts.notes) text += note;
  return text;
}

const std::string PIECES = ".text@1000=codecode .data@1008=data ";
const std::string DATA_SYMBOLS = "absolute:=20000002 blank=20000008 counter=100a ";
const std::string SYMBOLS = DATA_SYMBOLS + "main=1005 ";

TEST(Elf, ReadsOrRefuses) {
  constexpr std::uint64_t MOST = UINT64_MAX;
  const std::pair<ElfFields, std::string> rows[] = {
      {{}, PIECES + SYMBOLS},
      {{{"type", 3}, {"machine", 40}}, PIECES + DATA_SYMBOLS + "main=1004 "},
      {{{"shnum", 0}, {"phnum", 0xFFFF}, {"null.size", 6}, {"null.info", 2}}, PIECES + SYMBOLS},
      {{{"rom.paddr", 0}, {"ram.paddr", 0}},
       ".text@1000=codecode .data@20000000=data absolute:=20000002 blank=20000008 "
       "counter=20000002 main=1005 f: all physical addresses are 0, so the virtual ones count"},
      {{{"shnum", 0}, {"rom.filesz", 0}},
       "segment 1@1008=data f: no sections, so all bytes of the segments count"},
      {{{"shoff", 0}, {"phnum", 0}}, "f: no bytes to load"},
      {{{"text.flags", 0}, {"data.type", 8}}, "f: no bytes to load"},
      {{{"data.addr", 0x123}},
       ".text@1000=codecode .data@123=data absolute:=20000002 blank=20000008 counter=20000002 "
       "main=1005 f: .data is in no segment, so the sections' own addresses count"},
      {{{"phnum", 0}},
       ".text@1000=codecode .data@20000000=data absolute:=20000002 blank=20000008 "
       "counter=20000002 main=1005 f: .text and 1 more are in no segment, so the sections' own "
       "addresses count"},
      {{{"phnum", 3}, {"copies", 1}}, PIECES + SYMBOLS},
      {{{"rom.offset", 72}, {"rom.vaddr", 0x20000000}, {"data.size", 3}},
       "f: .data is in segment 0 and segment 1, which have different load addresses"},
      {{{"ram.paddr", MOST - 3}},
       ".text@1000=codecode .data@-4=data absolute:=20000002 blank=20000008 "
       "counter=-2 main=1005 "},
      {{{"ram.paddr", MOST - 2}}, "f: .data reaches past the last address"},
      {{{"names.size", 12}}, "section 1@1000=codecode section 2@1008=data main=1005 "},
      {{{"shstrndx", 3}, {"symbols.link", 99}}, "section 1@1000=codecode section 2@1008=data "},
      {{{"main.info", 4}, {"counter.shndx", 77}, {"blank.shndx", 4}, {"absolute.shndx", 0xFFF2}},
       PIECES},
      {{{"symbols.type", 0}}, PIECES},
      {{{"type", 1}}, "f: a relocatable object, which a linker must link first"},
      {{{"type", 4}}, "f: a core dump, not an executable"},
      {{{"type", 9}}, "f: ELF type 9 is not an executable"},
      {{{"data.flags", 0x802}}, "f: .data is compressed"},
      {{{"phentsize", 0}}, "f: program headers of 0 bytes each, should be "},
      {{{"symbols.entsize", 0}}, "f: symbols of 0 bytes each, should be "},
      {{{"shnum", 0}, {"null.size", 0x08000001}},
       "f: cut off: the section headers reach past the file's end"},
      {{{"shnum", 0}, {"shoff", MOST}},
       "f: cut off: the section headers reach past the file's end"},
      {{{"phoff", MOST}}, "f: cut off: the program headers reach past the file's end"},
      {{{"ram.filesz", MOST}}, "f: cut off: segment 1 reaches past the file's end"},
      {{{"data.offset", MOST}}, "f: cut off: .data reaches past the file's end"},
      {{{"text.size", 400}, {"data.size", 400}},
       "f: .data shares its bytes of the file with others"},
      {{{"shnum", 0}, {"rom.filesz", 400}, {"ram.filesz", 400}},
       "f: segment 1 shares its bytes of the file with others"},
      {{{"phnum", 501}, {"copies", 499}}, "f: more than 500 segments"},
  };
  for (const auto& [changes, expected] : rows) {
    for (const int variant : {0, 1, 2, 3}) {
      const bool isWide = variant % 2 != 0;
      std::string text = read(Format::ELF, elfFile(isWide, variant / 2 != 0, changes), isWide);
      if (expected.ends_with("be ")) text.resize(std::min(text.size(), expected.size()));
      EXPECT_EQ(text, expected) << variant;
    }
  }
  const ElfFields stripped = {{"text.type", 8}, {"data.type", 8}, {"rom.filesz", MOST}};
  EXPECT_EQ(readSymbols(elfFile(true, false, stripped)),
            "absolute:=20000002 blank=1010 counter=100a main=1005 ");
  EXPECT_EQ(read(Format::ELF,
                 "\x7F"
                 "ELF"),
            "f: not an ELF file, or its header is damaged");
}

std::string validHex() {
  return "\n \t\r\n" + hexRecord(3, 0, "1234") + hexRecord(5, 0, "1234") +
         hexRecord(0, 0xFFFE, "ab") + hexRecord(4, 0, {"\0\1", 2}) + hexRecord(0, 0, "") +
         hexRecord(0, 16, "cd") + hexRecord(0, 18, "ef") + hexRecord(0, 20, "g") +
         hexRecord(0, 21, "h") + hexRecord(0, 0xFFFF, "ij") + hexRecord(2, 0, "\xFF\xFF") +
         hexRecord(0, 0xFFFF, "k") + ":00000001ff\r\n \n";
}

std::string validSRecords() {
  return sRecord(0, 7, "head") + sRecord(1, 0xFFFE, "ab") + sRecord(5, 1, "") +
         sRecord(2, 0x10000, "cd") + sRecord(3, 0xFFFFFFFE, "ef") + sRecord(6, 3, "") +
         sRecord(7, 5, "") + "\n\n";
}

TEST(Records, ReadOrRefused) {
  const std::string word = hexRecord(0, 0, "ab"), end = ":00000001FF", last = sRecord(9, 0, "");
  const std::string garbage("\0\xFF", 2);
  const std::pair<std::string, std::string> rows[] = {
      {validHex(), "@fffe=ab55 @10010=cdefg889910 @10015=h11 @1ffff=ij1212 @10ffef=k14 "},
      {word, "f: no end record, so the file may be cut off"},
      {end, "f: no data"},
      {word + end + "\n" + end, "f, line 3: a record after the end record in line 2"},
      {":020000006162"
       "4A",
       "f, line 1: checksum 4A, should be 3B"},
      {":01000000FF", "f, line 1: length 01, should be 00"},
      {word + hexRecord(6, 0, ""), "f, line 2: record type 6 is unknown"},
      {hexRecord(4, 0, "a"), "f, line 1: length 01, should be 02"},
      {hexRecord(0, 0xFFFF, "ab"), "f, line 1: data across the end of a segment"},
      {hexRecord(4, 0, "\xFF\xFF") + hexRecord(0, 0xFFFF, "ab"),
       "f, line 2: data past the last address"},
      {":0Z", "f, line 1, column 3: not a hexadecimal digit"},
      {":000", "f, line 1: an odd number of digits"},
      {":0000", "f, line 1: too short for a record"},
      {":" + std::string(522, '0'), "f, line 1: longer than a record can be"},
      {word + garbage, "f, line 2: not a record: '" + garbage + "'"},
      {word + std::string(61, 'S'), "f, line 2: not a record: '" + std::string(60, 'S') + "...'"},
      {validSRecords(), "@fffe=ab22 @10000=cd44 @fffffffe=ef55 "},
      {sRecord(3, 0, "a"), "f: no S7, S8 or S9 record, so the file may be cut off"},
      {last, "f: no data"},
      {last + last, "f, line 2: a record after the last one, in line 1"},
      {last + "S", "f, line 2: not a record: 'S'"},
      {"S404000000FB", "f, line 1: record type S4 is reserved"},
      {sRecord(9, 0, "a"), "f, line 1: length 04, should be 03"},
      {"S3030000FC", "f, line 1: length 03, should be 05"},
      {sRecord(1, 0xFFFF, "ab"), "f, line 1: data past the last address of an S1 record"},
      {sRecord(1, 0, "a") + sRecord(5, 2, ""), "f, line 2: count 2 of data records, should be 1"},
      {sRecord(3, 0, "a") + last, "f, line 2: S9 ends a file with S1 records, and there are none"},
  };
  for (const auto& [text, expected] : rows) {
    const std::optional<Format> format = detectFormat({dataOf(text), text.size()});
    ASSERT_TRUE(format) << text;
    EXPECT_EQ(read(*format, text), expected);
  }
  for (const std::string text : {"", " ", ":", " :g", "Sa",
                                 "\x7F"
                                 "EL"}) {
    EXPECT_FALSE(detectFormat({dataOf(text), text.size()})) << text;
  }
}

// A type isn't covered by the checksum of an S-record.
TEST(Records, NoDigitCanBeWrong) {
  for (const std::string& text : {validHex(), validSRecords()}) {
    const Format format = text[0] == 'S' ? Format::S_RECORD : Format::INTEL_HEX;
    for (std::size_t i = 1; i < text.size(); ++i) {
      if (hexDigitValue(text[i]) < 0 || text[i - 1] == 'S') continue;
      for (const char digit : HEX_DIGITS) {
        if (hexDigitValue(text[i]) == hexDigitValue(digit)) continue;
        std::string damaged = text;
        damaged[i] = digit;
        EXPECT_NE(read(format, damaged).find("should be"), std::string::npos) << damaged;
      }
    }
  }
}

TEST(Firmware, IsRefusedWhereverItIsCutOff) {
  for (const std::string& text : {elfFile(false, true), validHex(), validSRecords()}) {
    const Format format = *detectFormat({dataOf(text), text.size()});
    const std::size_t end = text[0] == '\x7F' ? text.size() : text.find_last_not_of(" \r\n") + 1;
    for (std::size_t size = 0; size <= text.size(); ++size) {
      EXPECT_EQ(read(format, text.substr(0, size)).starts_with("f"), size < end) << size;
    }
  }
}

}  // namespace
