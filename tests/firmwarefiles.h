// Firmware files made by hand, field by field.
#ifndef FIRMWAREFILES_H
#define FIRMWAREFILES_H

#include <cstdint>
#include <map>
#include <string>

/// A record of Intel HEX with its line end, and right in length and checksum.
std::string hexRecord(std::uint64_t type, std::uint64_t offset, const std::string& data);
/// The same for S-record.
std::string sRecord(std::uint64_t type, std::uint64_t address, const std::string& data);

/// Fields of an ELF file by name: "phnum" of the file header, "rom.paddr" of a segment, "text.size"
/// of a section, "main.value" of a symbol.
using ElfFields = std::map<std::string, std::uint64_t>;

/// An ELF file. It has, but for `changes`: .text, 8 bytes at 0x1000; .data, 4 bytes at 0x20000000
/// and loaded to 0x1008; .bss after it; the segments rom, which begins with the ELF header, and
/// ram; the symbols main, counter, blank and absolute. "copies" of ram come last.
std::string elfFile(bool isWide, bool isBig, const ElfFields& changes = {});

#endif
