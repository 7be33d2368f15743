// The width file: which EBRs make up the memory, and how wide it is.
#ifndef RAMGRAFT_INPUTS_WIDTHFILE_H
#define RAMGRAFT_INPUTS_WIDTHFILE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "inputs/fault.h"

/// The last line of a width file.
struct WidthLine {
  std::string file;  ///< the name of the width file
  FileIdentity identity{};
  FileKind fileKind = FileKind::TEXT;
  std::string text;
  std::uint64_t number = 0;  ///< in the file, from 1
};

/// The two widths of a memory, in bits.
struct Widths {
  int address = 0;
  int data = 0;

  /// Memory words that the address reaches, 2^63 for an address of more bits.
  std::uint64_t addressedWords() const;
};

/// Reads the wid lines and the width line; neither is interpreted. The wids then have equal
/// lengths; `lines` are their numbers in the file, from 1.
InputFault readWidthFile(const std::string& fileName, std::vector<std::string>& wids,
                         std::vector<std::uint64_t>& lines, WidthLine& last);

/// NO_WID if there is none, OTHER_LENGTH if one has another length than the first; its line is its
/// number in the list, from 1. `name` takes the place of the file's name.
InputFault checkWids(const std::vector<std::string>& wids, const std::string& name);

/// Reads the widths after the "aw" and the "dw" of a width line. A missing number is 0; one that
/// doesn't fit 64 bits is the largest or smallest that does; of each the low 32 bits are kept.
/// Returns NONE, or NO_WIDTHS or MALFORMED_WIDTHS with the widths unchanged.
InputFault::Kind parseWidthLine(const std::string& line, Widths& widths);

/// Removes the prefix "0b" from each wid.
void removePrefixes(std::vector<std::string>& wids);

/// A width file as text: a line for each wid, the prefix added, and the width line.
std::string spellWidthFile(const std::vector<std::string>& wids, const Widths& widths);

#endif
