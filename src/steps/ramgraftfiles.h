// The three input files and the output: reading, checking, loading, writing.
#ifndef RAMGRAFT_STEPS_RAMGRAFTFILES_H
#define RAMGRAFT_STEPS_RAMGRAFTFILES_H

#include <optional>
#include <string>
#include <vector>

#include "base/ramgraftbstream.h"
#include "ebr/memorywords.h"
#include "files/read.h"

/// Everything that the driver needs of the input files besides the bitstream itself.
struct RunInputs {
  std::vector<std::string> wids;  ///< in width-file order, prefixes removed; at least one
  int widLength = 0;              ///< bits of an identifier
  int addrWidth = 0;
  int dataWidth = 0;
  std::optional<EbrContents> contents;  ///< the memory words, dealt out to the wids
  struct stat bitFile {};               ///< status of the input bitstream before it was read
};

/// Appends the lines of a text file to `lines`: all but the empty ones and those that begin with
/// one of `commentChars`. A line that holds a carriage return loses its last character. False, with
/// an ERROR line printed and `lines` as before, when the file can't be opened or read.
bool readFileLines(const std::string& fileName, std::vector<std::string>& lines,
                   std::vector<char> commentChars);

/// Whether there is at least one line and all have the same length.
bool checkWidLengths(const std::vector<std::string>& wids);

/// Reads the address and data widths behind the "aw" and the "dw" of a width file's last line; a
/// missing number is 0, one too large for 64 bits is the largest or smallest that fits them, and
/// the low 32 bits are stored. False, with an ERROR line printed and the widths as before, when the
/// line lacks a key or has them in the wrong order.
bool parseAddrDataWidth(const std::string& line, int& addrWidth, int& dataWidth);

/// Removes the prefix "0b" from each wid and sets `widLength` to the length of the first one in
/// bits. `wids` must not be empty. Always true.
bool normalizeWids(std::vector<std::string>& wids, int& widLength);

/// Loads the input files of a run, the bitstream last, into `inputs` and `bitstream`, both fresh.
/// False, with an ERROR line printed that names the file and the place, when one of them can't be
/// used (a line on standard error adds the place where the ERROR line doesn't). Prints a WARNING
/// line when there are no memory words or they don't fit the widths.
bool loadRunInputs(const std::string& widFile, const std::string& memFile,
                   const std::string& bitFile, RunInputs& inputs, Bitstream& bitstream);

/// The same with the EBRs' contents as physical lines: `newData`, one for each wid.
bool loadInputFiles(const std::string& widFile, const std::string& memFile,
                    const std::string& bitFile, std::vector<std::string>& wids,
                    std::vector<std::string>& newData, int& widLength, Bitstream& bitstream,
                    int& addrWidth, int& dataWidth);

/// Appends all bits of the named file to `bitstream`. False, with an ERROR line printed, when it
/// can't be opened or read.
bool readBitFile(const std::string& fileName, Bitstream& bitstream);

/// Writes the stream, which must be byte aligned, to the named file, as replaceFile() does, and
/// prints the line that says so. False, with an ERROR line printed and the system's reason on
/// standard error, when that failed; the file is then as it was.
bool writeOutput(const std::string& fileName, Bitstream& bitstream);

/// writeOutput() for contents that were made from the file `original`. When another program has
/// written to that file meanwhile, an ERROR line says so and nothing is written.
bool writeOutput(const std::string& fileName, const Bitstream& bitstream,
                 const InputFile& original);

#endif
