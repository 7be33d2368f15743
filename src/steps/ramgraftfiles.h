// The three input files and the output in simple steps: reading, checking, loading, writing.
//
// Messages go to descriptor 1 at once. A program that also writes to std::cout flushes that first.
#ifndef RAMGRAFT_STEPS_RAMGRAFTFILES_H
#define RAMGRAFT_STEPS_RAMGRAFTFILES_H

#include <string>
#include <vector>

#include "base/ramgraftbstream.h"

/// Appends the lines of a text file to `lines`: all but the empty ones and those that begin with
/// one of `commentChars`. A line that contains a carriage return loses its last character. False,
/// with an ERROR line printed and `lines` as before, when the file can't be opened or read.
bool readFileLines(const std::string& fileName, std::vector<std::string>& lines,
                   std::vector<char> commentChars);

/// True if there is at least one line and all have the same length. Prints nothing.
bool checkWidLengths(const std::vector<std::string>& wids);

/// Reads the address and data widths after the "aw" and the "dw" of a width file's last line; a
/// missing number is 0; one that doesn't fit 64 bits is the largest or smallest that does; of each
/// the low 32 bits are stored. False, with an ERROR line printed and the widths as before, when the
/// line lacks a key or has them in the wrong order.
bool parseAddrDataWidth(const std::string& line, int& addrWidth, int& dataWidth);

/// Removes the prefix "0b" from each wid and sets `widLength` to the length of the first one in
/// bits. `wids` must not be empty. Always true.
bool normalizeWids(std::vector<std::string>& wids, int& widLength);

/// Loads the input files of a run, the bitstream last: `wids`, `newData` (a physical line for each
/// wid) and `bitstream` are empty on entry. False, with an ERROR line printed that names the file
/// and the place (or a line on standard error that does), when one of the files can't be used; the
/// outputs are then filled in part. Prints a WARNING line when there are no memory words or they
/// don't fit the widths.
bool loadInputFiles(const std::string& widFile, const std::string& memFile,
                    const std::string& bitFile, std::vector<std::string>& wids,
                    std::vector<std::string>& newData, int& widLength, Bitstream& bitstream,
                    int& addrWidth, int& dataWidth);

/// Appends all bits of the named file to `bitstream`. False, with an ERROR line printed, when it
/// can't be opened or read.
bool readBitFile(const std::string& fileName, Bitstream& bitstream);

/// Writes the stream, which must be byte aligned, to the named file, as replaceFile() does, and
/// prints the line that says so. False, with an ERROR line printed and the system's reason on
/// standard error, when that failed.
bool writeOutput(const std::string& fileName, Bitstream& bitstream);

#endif
