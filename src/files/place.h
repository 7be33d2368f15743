// Where a file is: which descriptor its name is for, or which folder its links lead to.
#ifndef RAMGRAFT_FILES_PLACE_H
#define RAMGRAFT_FILES_PLACE_H

#include <fcntl.h>

#include <string>
#include <string_view>

#include "files/descriptor.h"

/// A descriptor that a process has open.
struct DescriptorName {
  int process = -1;
  int number = -1;

  bool isValid() const { return process >= 0 && number >= 0; }
};

/// Takes a path apart that is the name of an open descriptor: /dev/stdout, /dev/stderr, /dev/fd/N,
/// /proc/self/fd/N, /proc/thread-self/fd/N or /proc/PID/fd/N. Not valid for any other path, though
/// it may lead to the same file.
DescriptorName parseDescriptorName(std::string_view path);

/// A name in a folder that is held open.
struct FilePlace {
  FileDescriptor folder{AT_FDCWD};
  std::string name;
};

/// Follows the symlinks that the last component of `fileName` leads through, and sets `place` to
/// where they end. Which links may be followed is the system's decision: it has just opened the
/// name as given, and `old` is the file that it found, {} if there was none. Returns 0 or the
/// system's error number; ESTALE if the links lead to another file by now.
int findPlace(const std::string& fileName, const FileIdentity& old, FilePlace& place);

#endif
