// Firmware files made by hand, field by field.
#ifndef FIRMWAREFILES_H
#define FIRMWAREFILES_H

#include <elf.h>

#include <cstdint>
#include <string>
#include <vector>

/// A record of Intel HEX with its line end, and right in length and checksum.
std::string hexRecord(unsigned type, std::uint64_t offset, const std::string& data);
/// The same for S-record.
std::string sRecord(unsigned type, std::uint64_t address, const std::string& data);

/// An ELF file's headers, in the 64-bit form also where the file is a 32-bit one. As made: .text
/// with 8 bytes for 0x1000 and .data with 4 bytes at 0x20000000, which is loaded to 0x1008, .bss
/// after it, in one segment each for ROM and RAM; main, counter, blank and absolute name addresses.
struct ElfFile {
  ElfFile(bool wide, bool big);

  bool isWide, isBig;
  Elf64_Ehdr header = {};
  std::vector<Elf64_Phdr> segments;
  std::vector<Elf64_Shdr> sections;
  std::vector<Elf64_Sym> symbols;
  std::string contents;  ///< at CONTENTS in the file; names, then symbols, then tables follow

  static constexpr std::uint64_t CONTENTS = 0x40;
  static constexpr std::size_t TEXT = 1, DATA = 2, BSS = 3, NAMES = 4, SYMBOLS = 5;

  /// The file's bytes.
  std::string build() const;
};

#endif
