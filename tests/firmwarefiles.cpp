#include "firmwarefiles.h"

#include <array>
#include <numeric>
#include <sstream>

#include "base/digits.h"

namespace {

std::string number(std::uint64_t value, std::size_t bytes, bool isBig = true) {
  std::string text;
  for (std::size_t i = 0; i < bytes; ++i) {
    text.insert(isBig ? text.begin() : text.end(), static_cast<char>(value >> 8 * i));
  }
  return text;
}

std::string record(std::string line, std::string bytes, unsigned checksumTotal) {
  const auto add = [](unsigned sum, unsigned char byte) { return sum + byte; };
  bytes += static_cast<char>(checksumTotal - std::accumulate(bytes.begin(), bytes.end(), 0U, add));
  for (const char byte : bytes) {
    line += {HEX_DIGITS[byte >> 4 & 0xF], HEX_DIGITS[byte & 0xF]};
  }
  return line + "\r\n";
}

// The fields that are the same in all ELF files, in hexadecimal.
const char* const OTHER_FIELDS = R"(
    type 2 phnum 2 shnum 6 shstrndx 4
    rom.type 1 rom.offset 0 rom.vaddr FC0 rom.paddr FC0 rom.filesz 48 rom.memsz 48
    ram.type 1 ram.offset 48 ram.vaddr 20000000 ram.paddr 1008 ram.filesz 4 ram.memsz C
    text.name 1D text.type 1 text.flags 2 text.addr 1000 text.offset 40 text.size 8
    data.name 23 data.type 1 data.flags 2 data.addr 20000000 data.offset 48 data.size 4
    bss.type 8 bss.flags 2 bss.addr 20000004 bss.size 8
    names.type 3 names.offset 4C symbols.type 2 symbols.link 4
    main.name 1 main.info 2 main.shndx 1 main.value 1005
    counter.name 6 counter.info 1 counter.shndx 2 counter.value 20000002
    blank.name E blank.shndx 3 blank.value 20000008
    absolute.name 14 absolute.shndx FFF1 absolute.value 20000002)";

}  // namespace

std::string hexRecord(std::uint64_t type, std::uint64_t offset, const std::string& data) {
  return record(":", number(data.size(), 1) + number(offset, 2) + number(type, 1) + data, 0);
}

std::string sRecord(std::uint64_t type, std::uint64_t address, const std::string& data) {
  const std::uint64_t width = std::array<unsigned, 10>{2, 2, 3, 4, 4, 2, 3, 4, 3, 2}[type];
  return record("S" + std::to_string(type),
                number(width + data.size() + 1, 1) + number(address, width) + data, 0xFF);
}

std::string elfFile(bool isWide, bool isBig, const ElfFields& changes) {
  const std::string names("\0main\0counter\0blank\0absolute\0.text\0.data\0", 41);
  const std::uint64_t symbolBytes = isWide ? 24 : 16, symbolsAt = 76 + names.size();
  const std::uint64_t sectionBytes = isWide ? 64 : 40, sectionsAt = symbolsAt + 5 * symbolBytes;
  ElfFields fields = {{"phoff", sectionsAt + 6 * sectionBytes},
                      {"phentsize", isWide ? 56 : 32},
                      {"shoff", sectionsAt},
                      {"shentsize", sectionBytes},
                      {"names.size", names.size()},
                      {"symbols.offset", symbolsAt},
                      {"symbols.size", 5 * symbolBytes},
                      {"symbols.entsize", symbolBytes}};
  std::istringstream others(OTHER_FIELDS);
  for (std::string name; others >> name;) others >> std::hex >> fields[name];
  for (const auto& [name, value] : changes) fields[name] = value;
  // Appends fields: for each its size in bytes, A for an address's, and its name.
  std::string file = std::string(
                         "\x7F"
                         "ELF") +
                     (isWide ? '\2' : '\1') + (isBig ? '\2' : '\1');
  const auto append = [&](const std::string& prefix, const std::string& form) {
    std::istringstream words(form);
    for (std::string word; words >> word;) {
      const char size = word[0] != 'A' ? word[0] : isWide ? '8' : '4';
      file += number(fields[prefix + word.substr(1)], static_cast<std::size_t>(size - '0'), isBig);
    }
  };
  file += '\1' + std::string(9, '\0');
  append("", "2type 2machine 4 A Aphoff Ashoff 4 2 2phentsize 2phnum 2shentsize 2shnum 2shstrndx");
  file.resize(64);
  file += "codecodedata" + names;
  for (const char* symbol : {"", "main.", "counter.", "blank.", "absolute."}) {
    append(symbol, isWide ? "4name 1info 1 2shndx Avalue A" : "4name Avalue A 1info 1 2shndx");
  }
  for (const char* section : {"null.", "text.", "data.", "bss.", "names.", "symbols."}) {
    append(section, "4name 4type Aflags Aaddr Aoffset Asize 4link 4info A Aentsize");
  }
  for (std::uint64_t i = 0; i < 2 + fields["copies"]; ++i) {
    append(i == 0 ? "rom." : "ram.", isWide ? "4type 4 Aoffset Avaddr Apaddr Afilesz Amemsz A"
                                            : "4type Aoffset Avaddr Apaddr Afilesz Amemsz 4 A");
  }
  return file;
}
