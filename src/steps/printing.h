// What a run prints about its files. The words are those of reports/; what comes before them is
// fixed, because other programs read it.
#ifndef RAMGRAFT_STEPS_PRINTING_H
#define RAMGRAFT_STEPS_PRINTING_H

#include <string>
#include <vector>

#include "base/ramgraftbstream.h"
#include "files/readfile.h"
#include "inputs/loading.h"

/// Prints ERROR lines, and on standard error what they don't say, if there is a fault. True if
/// there is none.
bool printInputFault(const InputFault& fault);

/// Prints a WARNING line for each thing in width and memory files that is probably a mistake.
void printMemoryWarnings(const MemoryInputs& inputs);

/// Writes the stream to the named file, as replaceFile() does, and prints the lines that report
/// what became of it. `input` is the file that the stream was made from; the file may be none of
/// `others`. True if it was written.
bool writeStream(const std::string& fileName, const Bitstream& bitstream, const FileIdentity& input,
                 const std::vector<ReadFile>& others);

#endif
