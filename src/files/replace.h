// Replacing a file so that nothing is lost, whatever happens.
#ifndef RAMGRAFT_FILES_REPLACE_H
#define RAMGRAFT_FILES_REPLACE_H

#include <csignal>
#include <cstddef>
#include <string>

#include "files/read.h"

/// Lets signals wait from begin() to the end of its life; a run that one of them ends there is over
/// with nothing half done.
class SignalHold {
 public:
  SignalHold();
  SignalHold(const SignalHold&) = delete;
  SignalHold& operator=(const SignalHold&) = delete;
  SignalHold(SignalHold&&) = delete;
  SignalHold& operator=(SignalHold&&) = delete;
  ~SignalHold();

  void begin() const;

 private:
  sigset_t before{};
};

/// What replaceFile() returns beside 0 and the system's error numbers.
constexpr int ORIGINAL_CHANGED = -1;

/// Makes `size` bytes the whole contents of the named file and returns 0, or the system's error
/// number when that failed: EFAULT when the bytes, being those of a mapped file that was cut short,
/// are gone.
///
/// A regular file, new or old, is written under a temporary name beside it and renamed over it: at
/// any moment the name leads to the complete old file or the complete new one, and a failure or any
/// signal but KILL leaves no temporary behind. A symlink stays, the file it leads to is replaced;
/// an old file's mode is kept, and its owner where allowed. A file that can't be opened for writing
/// is not replaced.
///
/// Where the folder takes no new file, an old one is written in place and put back as it was when
/// that fails. Its other hard links change with it: if the file that the contents were made from
/// has a second name, and that is the one to be written, both names lead to the new contents.
///
/// Devices, pipes and the names of open descriptors (/dev/stdout, /dev/fd/N) are written directly;
/// a descriptor of the file that the contents were made from is refused with EBUSY.
///
/// `original` is the file that the contents were made from. When the name leads to that file, the
/// new contents are flushed to the disk before they replace it: only then is there something that
/// can't be made again. When another program has written to it before the new contents stand in the
/// temporary, or before anything is written directly or in place, the result is ORIGINAL_CHANGED
/// and the named file as it was.
///
/// `signals` begins before there is a temporary name and before anything is written in place. It
/// lives on, so that the caller can tell what became of the file before a signal ends the run.
int replaceFile(const std::string& fileName, const unsigned char* bytes, std::size_t size,
                const InputFile& original, const SignalHold& signals = SignalHold());

#endif
