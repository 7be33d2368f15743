// What Intel HEX and Motorola S-record have in common: lines of hexadecimal digits, with a length
// and a checksum in each.
#ifndef RAMGRAFT_FIRMWARE_RECORDLINE_H
#define RAMGRAFT_FIRMWARE_RECORDLINE_H

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "firmware/image.h"

/// In what the records of the two formats differ.
struct RecordForm {
  std::size_t prefix;      ///< characters before the first byte's digits
  std::size_t uncounted;   ///< bytes that the length leaves out
  unsigned checksumTotal;  ///< the low eight bits of the sum of all bytes
};

/// Reads a file line by line. A line may end with spaces, tabs and carriage returns, and lines of
/// nothing else are passed over. The functions that check return a sentence that says what is
/// wrong, empty if nothing is.
class RecordLines {
 public:
  /// `recordForm`, `file` and the bytes must live as long as this.
  RecordLines(const RecordForm& recordForm, const std::string& file,
              std::span<const unsigned char> bytes);

  /// Moves on to the next line that isn't blank. False if there is none.
  bool next();
  std::uint64_t lineNumber() const { return number; }
  /// The line without what ends it; at least one character.
  std::string_view lineText() const { return text; }

  /// Decodes the line's digits, and checks its length and checksum.
  std::string decode();
  /// The bytes of the record that was decoded last.
  std::span<const unsigned char> record() const { return bytes; }
  /// The `count` record bytes from `begin` on as one number, most significant first.
  std::uint64_t numberAt(std::size_t begin, std::size_t count) const;

  /// A sentence about this line.
  std::string fault(const std::string& what) const;
  /// A sentence about this line being no record: what it begins with, and what it is not.
  std::string noRecord() const;
  /// A sentence about a number of this line, with the one that it should be. Two digits each.
  std::string wrongByte(const std::string& what, std::uint64_t found, std::uint64_t wanted) const;
  /// A sentence about the whole file.
  std::string fileFault(const std::string& what) const;

 private:
  std::string checkDigits(std::string_view digits) const;

  const RecordForm& form;
  const std::string& fileName;
  std::string_view rest;  ///< of the file, after the current line
  std::string_view text;
  std::uint64_t number = 0;
  std::vector<unsigned char> bytes;
};

/// Makes pieces of the data of records. The functions that return a sentence return the visitor's.
class RecordPieces {
 public:
  /// `toVisit` must live as long as this. `fileBytes`: how long the file is, two digits for each
  /// byte of data at least.
  RecordPieces(const PieceVisitor& toVisit, std::size_t fileBytes);

  /// Adds the data of the record in line `line`. Data of no bytes leave no trace.
  std::string add(std::uint64_t address, std::span<const unsigned char> data, std::uint64_t line);
  /// Ends the last piece.
  std::string finish();
  /// True if there have been no data.
  bool isEmpty() const { return lastLine == 0; }

 private:
  bool continuesPiece(std::uint64_t address, std::size_t size, std::uint64_t line) const;

  const PieceVisitor& visit;
  Piece piece;                       ///< that isn't ended yet
  std::vector<unsigned char> bytes;  ///< of that piece
  std::uint64_t lastLine = 0;        ///< of the last record added
  std::size_t lastBytes = 0;         ///< of the last record added
};

#endif
