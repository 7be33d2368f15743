// What a firmware file contains: bytes with addresses, and names for addresses.
#ifndef RAMGRAFT_FIRMWARE_IMAGE_H
#define RAMGRAFT_FIRMWARE_IMAGE_H

#include <bit>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Consecutive bytes with an address.
struct Piece {
  std::uint64_t address = 0;             ///< of the first byte; the last one's is at most 2^64 - 1
  std::span<const unsigned char> bytes;  ///< at least one; of the file or of the image's storage
  std::string section;                   ///< ELF: the section's name, or "segment N"; else empty
  std::uint64_t line = 0;         ///< text formats: of the record with the first byte; 0 for ELF
  std::uint64_t recordBytes = 0;  ///< text formats: bytes of each record but the last, one a line

  /// Line of the record that contains the byte at `offset`; 0 for ELF.
  std::uint64_t lineOf(std::uint64_t offset) const;
};

/// A name for an address.
struct Symbol {
  std::string_view name;  ///< at least one character; in the file's bytes
  std::uint64_t address = 0;
  bool isAbsolute = false;  ///< true if the address doesn't move when the file's contents do
};

/// The contents of a firmware file. The file's bytes must live as long as the image.
struct FirmwareImage {
  FirmwareImage() = default;
  FirmwareImage(FirmwareImage&&) = default;
  FirmwareImage& operator=(FirmwareImage&&) = default;
  FirmwareImage(const FirmwareImage&) = delete;  // pieces point into the storage
  FirmwareImage& operator=(const FirmwareImage&) = delete;
  ~FirmwareImage() = default;

  std::vector<Piece> pieces;             ///< in the file's order; they may overlap
  std::vector<Symbol> symbols;           ///< ELF: sorted by name, then by address
  std::optional<std::endian> byteOrder;  ///< ELF: of the processor; else nothing
  std::vector<std::string> notes;      ///< sentences for the user; each begins with the file's name
  std::vector<unsigned char> storage;  ///< the data of a text format's records
};

#endif
