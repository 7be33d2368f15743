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

/// What is known of the files that a stream was made from.
struct StreamSources {
  FileIdentity bitFile;            ///< the stream itself
  OldFile oldFile = OldFile::ANY;  ///< what is to be replaced
  std::vector<ReadFile> others;    ///< may not be replaced
};

/// Writes the stream to the named file, as replaceFile() does, and prints the lines that report
/// what became of it. True if it was written.
bool writeStream(const std::string& fileName, const Bitstream& bitstream,
                 const StreamSources& sources);

#endif
