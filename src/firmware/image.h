// What a firmware file contains: bytes with addresses, and names for addresses.
#ifndef RAMGRAFT_FIRMWARE_IMAGE_H
#define RAMGRAFT_FIRMWARE_IMAGE_H

#include <bit>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Consecutive bytes with an address.
struct Piece {
  std::uint64_t address = 0;             ///< of the first byte; the last one's is at most 2^64 - 1
  std::span<const unsigned char> bytes;  ///< at least one
  std::string section;                   ///< ELF: the section's name, or "segment N"; else empty
  std::uint64_t line = 0;         ///< text formats: of the record with the first byte; 0 for ELF
  std::uint64_t recordBytes = 0;  ///< text formats: bytes of each record but the last, one a line

  /// Line of the record that contains the byte at `offset`; 0 for ELF.
  std::uint64_t lineOf(std::uint64_t offset) const;
};

/// Takes one of a file's pieces, which come in the file's order and may overlap. What it refers to
/// is there only until the call returns, so that a file of many small pieces takes no more memory
/// than another. Returns the sentence that says what is wrong with it, which ends the reading;
/// empty if nothing is.
using PieceVisitor = std::function<std::string(const Piece&)>;

/// A name for an address.
struct Symbol {
  std::string_view name;  ///< at least one character; in the file's bytes, which must live as long
  std::uint64_t address = 0;
  bool isAbsolute = false;  ///< true if the address doesn't move when the file's contents do
};

/// What a firmware file says beside its pieces.
struct FirmwareFacts {
  std::optional<std::endian> byteOrder;  ///< ELF: of the processor; else nothing
  std::vector<std::string> notes;  ///< sentences for the user; each begins with the file's name
};

#endif
