// InputFault: what is wrong with an input file, and where.
#ifndef RAMGRAFT_INPUTS_FAULT_H
#define RAMGRAFT_INPUTS_FAULT_H

#include <cstdint>
#include <string>
#include <string_view>

#include "files/read.h"
#include "inputs/filekind.h"

/// What is wrong with one of the input files. Only the members that the kind names have a meaning.
struct InputFault {
  enum class Kind {
    NONE,
    CANT_OPEN,             ///< error
    CANT_READ,             ///< error
    CHANGED,               ///< the file was written to while it was read
    TOO_LARGE,             ///< the file has more bytes than are taken
    CUT_SHORT,             ///< the file ended before its size said so
    LOCKED,                ///< another program has kept the file locked for too long
    NO_LINES,              ///< the width file has no line with text
    NO_WID,                ///< the width file has no line but the last
    OTHER_LENGTH,          ///< line: a wid with another length than the first one's, `wanted`
    NO_WIDTHS,             ///< line, text: the width line lacks a key or the semicolon
    MALFORMED_WIDTHS,      ///< line, text: the width line has its keys in the wrong places
    DATA_WIDTH_TOO_SMALL,  ///< line: a data width of `found` bits for `wanted` EBRs
    NOT_HEXADECIMAL,       ///< line, text; character: the first that is no digit
    INDIVISIBLE_WORD,      ///< line: a word of `found` bits, to be cut into groups of `wanted`
    LINE_TOO_LONG,         ///< line: from here on a physical line is too long; in all `found` bits
  };

  Kind kind = Kind::NONE;
  bool isBitstream = false;  ///< true for the bitstream, false for the width and memory files
  std::string file{};        ///< its name as given
  int error = 0;             ///< the system's error number
  std::uint64_t line = 0;    ///< in the file, from 1
  std::string text{};        ///< the first characters of the line, EXCERPT_BYTES at most
  char character = 0;
  FileKind fileKind = FileKind::TEXT;  ///< of a width or memory file with a fault in its lines
  std::int64_t found = 0;
  std::int64_t wanted = 0;

  static constexpr std::size_t EXCERPT_BYTES = 100;
};

/// The fault of a file that could not be read, of the kind NONE if it could.
InputFault faultOf(const ReadResult& result, const std::string& file);
inline InputFault faultOf(const LineReader& reader) {
  return faultOf(reader.getResult(), reader.getFileName());
}

/// A fault in one line of a file.
InputFault faultInLine(InputFault::Kind kind, const std::string& file, const TextLine& line);

#endif
