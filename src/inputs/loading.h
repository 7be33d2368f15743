// Loading the three input files of a run, in their fixed order.
#ifndef RAMGRAFT_INPUTS_LOADING_H
#define RAMGRAFT_INPUTS_LOADING_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/ramgraftbstream.h"
#include "ebr/memorywords.h"
#include "files/readfile.h"
#include "files/update.h"
#include "inputs/fault.h"
#include "inputs/memoryfile.h"
#include "inputs/widthfile.h"

/// The names of a run's input files.
struct InputNames {
  std::string bit, wid, mem;
};

/// An EBR that a width file lists more than once.
struct RepeatedWid {
  std::string file;             ///< the width file
  std::uint64_t line = 0;       ///< the first that lists an EBR again, from 1
  std::uint64_t firstLine = 0;  ///< the line that listed it before
  std::uint64_t numLines = 0;   ///< that list an EBR again, 0 if none does
};

/// The width and memory files of a run.
struct MemoryInputs {
  std::vector<std::string> wids;  ///< in width-file order, prefixes removed; at least one
  RepeatedWid repeated;
  Widths widths;
  std::optional<MemoryWords> words;  ///< set once the memory file was read without fault
  MemoryFileSummary summary;         ///< of the memory file
  std::vector<ReadFile> files;       ///< those read

  /// Bits of each memory word that one EBR holds, once the width file was read without fault.
  std::uint64_t getBitsPerEbr() const {
    return static_cast<std::uint64_t>(widths.data) / wids.size();
  }
};

/// Loads the width file, then the memory file, into `inputs`, which is fresh. After a fault it is
/// filled as far as the files were read.
InputFault loadMemoryInputs(const InputNames& names, MemoryInputs& inputs);

/// Loads the width file alone into `inputs`, which is fresh.
InputFault loadWidths(const std::string& widFile, MemoryInputs& inputs);

/// Fills `inputs`, which is fresh, with values instead of files: the wids as the lines of a width
/// file, the bits of a memory word, and the words as the lines of a memory file without comments.
/// In a fault and in `inputs`, "wids", "data width" and "words" take the place of a file's name.
InputFault takeMemoryInputs(const std::vector<std::string>& wids, int dataWidth,
                            const std::vector<std::string>& words, MemoryInputs& inputs);

/// Reads all bytes of a file that is neither bitstream nor width file into `bytes`, which is fresh,
/// and sets `identity` to the file's. A file of more than MOST_INPUT_BYTES is a fault.
InputFault loadBytes(const std::string& fileName, ByteBuffer& bytes, FileIdentity& identity);

/// Appends all bits of the bitstream file to `bitstream` and sets `identity` to the file's.
InputFault loadBitstream(const std::string& fileName, Bitstream& bitstream, FileIdentity& identity);
/// The same for a run that will write `outputFile`; see beginUpdate() for `update`.
InputFault loadBitstream(const std::string& fileName, const std::string& outputFile,
                         Bitstream& bitstream, FileIdentity& identity, Update& update);

#endif
