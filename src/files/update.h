// Runs that update one file, their input and output, one after the other.
#ifndef RAMGRAFT_FILES_UPDATE_H
#define RAMGRAFT_FILES_UPDATE_H

#include <string>

#include "files/descriptor.h"

/// What the name of an output must lead to when it is replaced.
enum class OldFile {
  ANY,           ///< any file, or none
  INPUT,         ///< the input; else another run has replaced it meanwhile
  LOCKED_INPUT,  ///< the same, and this process has it locked (flock)
};

/// A run's hold on its input. The lock ends with it.
struct Update {
  FileDescriptor file;  ///< the input, to be read, if it is also the output; else not open
  OldFile old = OldFile::ANY;
  bool isTimedOut = false;  ///< another program has had the lock for LONGEST_WAIT_SECONDS
};

inline constexpr int LONGEST_WAIT_SECONDS = 60;

/// If both names lead to the same regular file, opens and locks it, once no other run has it locked
/// any more. If the input's name leads to another file by then, starts over with that. Where locks
/// don't work, the file is only opened. Does nothing if the names lead to different files.
Update beginUpdate(const std::string& inputFile, const std::string& outputFile);

#endif
