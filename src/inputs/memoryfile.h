// The memory file: the memory words, one on each line.
#ifndef RAMGRAFT_INPUTS_MEMORYFILE_H
#define RAMGRAFT_INPUTS_MEMORYFILE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "ebr/memorywords.h"
#include "inputs/fault.h"

/// A line that begins with one of these is a comment.
inline constexpr std::string_view MEMORY_COMMENTS = "#/";

/// What was read of a memory file.
struct MemoryFileSummary {
  std::string file;              ///< its name
  std::uint64_t numWords = 0;    ///< a line of several whole rounds has as many, a misfit is one
  std::uint64_t numMisfits = 0;  ///< lines that aren't a multiple of MemoryWords::getRoundBits()
  std::uint64_t firstMisfitLine = 0;  ///< number of the first misfit in the file, from 1
  std::uint64_t firstMisfitBits = 0;  ///< its number of bits
};

/// Appends the words of the memory file that `reader` has read to `words` and fills `summary`. The
/// reader's result must be DONE: without it there are no lines, which is no fault here.
InputFault readMemoryFile(LineReader& reader, MemoryWords& words, MemoryFileSummary& summary);

/// The same for lines that are in memory. None is a comment; an empty one counts as no word. `name`
/// takes the place of the file's name.
InputFault readMemoryLines(const std::vector<std::string>& lines, const std::string& name,
                           MemoryWords& words, MemoryFileSummary& summary);

/// Whether all lines of a memory file have the same number of bits.
struct EqualLines {
  std::uint64_t numLines = 0;    ///< lines that are memory words
  std::uint64_t bits = 0;        ///< of the first of them
  std::uint64_t firstOther = 0;  ///< number in the file of the first with other bits, 0 if none
  std::uint64_t otherBits = 0;   ///< its number of bits
};

/// The same for a memory file of which it isn't known yet how its words are dealt out: neither
/// their bits nor the length of the columns is a fault.
InputFault readEqualLines(LineReader& reader, MemoryWords& words, EqualLines& lines);

/// A memory file as text: the words in lines of `lineBits` bits, which must divide theirs.
std::string spellMemoryFile(const MemoryWords& words, std::uint64_t lineBits);

#endif
