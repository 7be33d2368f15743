#include "firmwarefiles.h"

#include <numeric>

#include "base/digits.h"

namespace {

std::string number(std::uint64_t value, std::size_t bytes, bool isBig = true) {
  std::string text;
  for (std::size_t i = 0; i < bytes; ++i) {
    text.insert(isBig ? text.begin() : text.end(), static_cast<char>(value >> 8 * i));
  }
  return text;
}

std::string record(const std::string& prefix, std::string bytes, unsigned checksumTotal) {
  const unsigned sum = std::accumulate(
      bytes.begin(), bytes.end(), 0U,
      [](unsigned total, char byte) { return total + static_cast<unsigned char>(byte); });
  bytes += static_cast<char>(checksumTotal - sum);
  std::string line = prefix;
  for (const char byte : bytes) {
    line += HEX_DIGITS[static_cast<unsigned char>(byte) >> 4];
    line += HEX_DIGITS[byte & 0xF];
  }
  return line + "\r\n";
}

}  // namespace

std::string hexRecord(unsigned type, std::uint64_t offset, const std::string& data) {
  return record(":", number(data.size(), 1) + number(offset, 2) + number(type, 1) + data, 0);
}

std::string sRecord(unsigned type, std::uint64_t address, const std::string& data) {
  const std::size_t width = std::string("2234?23432")[type] - '0';
  return record("S" + std::to_string(type),
                number(width + data.size() + 1, 1) + number(address, width) + data, 0xFF);
}

ElfFile::ElfFile(bool wide, bool big) : isWide(wide), isBig(big), contents("codecodedata") {
  const std::string names("\0main\0counter\0blank\0absolute\0.text\0.data", 40);
  const std::uint64_t symbolBytes = wide ? 24 : 16, symbolsAt = CONTENTS + 12 + names.size() + 1;
  contents += names + '\0';
  header.e_type = ET_EXEC;
  header.e_phentsize = wide ? 56 : 32;
  header.e_shentsize = wide ? 64 : 40;
  header.e_shstrndx = NAMES;
  segments = {{PT_LOAD, 5, 0, 0xFC0, 0xFC0, CONTENTS + 8, CONTENTS + 8, 1},  // with the ELF header
              {PT_LOAD, 6, CONTENTS + 8, 0x20000000, 0x1008, 4, 12, 1}};
  sections = {{},
              {29, SHT_PROGBITS, SHF_ALLOC, 0x1000, CONTENTS, 8, 0, 0, 1, 0},
              {35, SHT_PROGBITS, SHF_ALLOC, 0x20000000, CONTENTS + 8, 4, 0, 0, 1, 0},
              {0, SHT_NOBITS, SHF_ALLOC, 0x20000004, CONTENTS + 12, 8, 0, 0, 1, 0},
              {0, SHT_STRTAB, 0, 0, CONTENTS + 12, names.size() + 1, 0, 0, 1, 0},
              {0, SHT_SYMTAB, 0, 0, symbolsAt, 5 * symbolBytes, NAMES, 0, 1, symbolBytes}};
  symbols = {{},
             {1, STT_FUNC, 0, TEXT, 0x1005, 0},
             {6, STT_OBJECT, 0, DATA, 0x20000002, 0},
             {14, STT_NOTYPE, 0, BSS, 0x20000008, 0},
             {20, STT_NOTYPE, 0, SHN_ABS, 0x20000002, 0}};
  const std::uint64_t tables = symbolsAt + 5 * symbolBytes;
  header.e_phoff = tables;
  header.e_phnum = 2;
  header.e_shoff = tables + 2 * header.e_phentsize;
  header.e_shnum = 6;
}

std::string ElfFile::build() const {
  const auto field = [this](std::uint64_t value, std::size_t bytes) {
    return number(value, bytes, isBig);
  };
  const auto address = [&](std::uint64_t value) { return field(value, isWide ? 8 : 4); };
  std::string file = std::string(
                         "\x7F"
                         "ELF") +
                     (isWide ? '\2' : '\1') + (isBig ? '\2' : '\1');
  file += '\1' + std::string(9, '\0') + field(header.e_type, 2) + field(header.e_machine, 2) +
          field(1, 4) + address(0) + address(header.e_phoff) + address(header.e_shoff) +
          field(0, 6);
  for (const auto half : {header.e_phentsize, header.e_phnum, header.e_shentsize, header.e_shnum,
                          header.e_shstrndx}) {
    file += field(half, 2);
  }
  file.resize(CONTENTS);
  file += contents;
  for (const Elf64_Sym& symbol : symbols) {
    const std::string kind = field(symbol.st_info, 1) + field(0, 1) + field(symbol.st_shndx, 2);
    const std::string value = address(symbol.st_value) + address(symbol.st_size);
    file += field(symbol.st_name, 4) + (isWide ? kind + value : value + kind);
  }
  for (const Elf64_Phdr& segment : segments) {
    file += field(segment.p_type, 4) + (isWide ? field(segment.p_flags, 4) : "");
    for (const auto value :
         {segment.p_offset, segment.p_vaddr, segment.p_paddr, segment.p_filesz, segment.p_memsz}) {
      file += address(value);
    }
    file += (isWide ? "" : field(segment.p_flags, 4)) + address(segment.p_align);
  }
  for (const Elf64_Shdr& section : sections) {
    file += field(section.sh_name, 4) + field(section.sh_type, 4) + address(section.sh_flags) +
            address(section.sh_addr) + address(section.sh_offset) + address(section.sh_size) +
            field(section.sh_link, 4) + field(section.sh_info, 4) + address(1) +
            address(section.sh_entsize);
  }
  return file;
}
