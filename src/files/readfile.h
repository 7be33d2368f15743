// ReadFile: a file that was read, which an output must not replace.
#ifndef RAMGRAFT_FILES_READFILE_H
#define RAMGRAFT_FILES_READFILE_H

#include <string>
#include <vector>

#include "files/descriptor.h"

/// A file that was read.
struct ReadFile {
  std::string name;  ///< as given
  FileIdentity identity;
};

/// The one of `inputs` that the name of an output leads to, which may have another name and must be
/// a regular file, or whose name it has if it leads nowhere; nullptr if there is none.
const ReadFile* findInput(const std::string& outputFile, const std::vector<ReadFile>& inputs);

#endif
