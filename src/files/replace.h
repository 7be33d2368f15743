// Replacing a file so that nothing is lost, whatever happens.
#ifndef RAMGRAFT_FILES_REPLACE_H
#define RAMGRAFT_FILES_REPLACE_H

#include <cstddef>
#include <span>
#include <string>

#include "files/descriptor.h"
#include "files/signals.h"  // IWYU pragma: export
#include "files/update.h"

/// What became of a file that was to be replaced.
struct ReplaceResult {
  enum class Outcome {
    DONE,
    NOT_WRITTEN,   ///< the file is as it was; if it is a pipe or a device, it may have taken a part
    IN_USE,        ///< not written, because another program is writing it
    PART_WRITTEN,  ///< written in place: may be part old, part new, or not all on the disk
  };

  Outcome outcome = Outcome::DONE;
  int error = 0;  ///< the system's error number unless DONE

  bool isDone() const { return outcome == Outcome::DONE; }
};

/// Makes `size` bytes the whole contents of the named file.
///
/// A regular file, new or old, is written under a temporary name beside it and renamed over it: at
/// any moment the name leads to the complete old file or the complete new one, and neither a
/// failure nor any signal but KILL leaves a temporary. A symlink stays; the file it leads to is
/// replaced, if the system follows the link. An old file's mode and access control list are kept,
/// and its owner and group where allowed; nobody gets more rights than before. A file that can't be
/// opened for writing is not replaced.
///
/// Where the folder takes no new file, an old one is locked (flock) and written in place, and its
/// old contents are put back when that fails. Its other hard links change with it: if the target is
/// another hard link to the input, the input changes too.
///
/// Devices, pipes and the names of open descriptors (/dev/stdout, /dev/fd/N) are written directly.
/// A descriptor of the input is refused with EBUSY. A regular file that another process has open
/// (/proc/PID/fd/N) is written in place.
///
/// `input` is the file that the contents were made from. When the name leads to that file, the new
/// contents are flushed to the disk before they replace it: only then would a power failure lose
/// something that can't be made again.
///
/// `signals` begins before there is a temporary name and before anything is written in place. It
/// outlives the call, so that the caller can report what became of the file before a signal ends
/// the run.
///
/// Unless `oldFile` is ANY, the name must lead to `input` until the new contents replace it; if it
/// doesn't, the result is IN_USE. A LOCKED_INPUT isn't locked once more.
ReplaceResult replaceFile(const std::string& fileName, const unsigned char* bytes, std::size_t size,
                          const FileIdentity& input, const SignalHold& signals = SignalHold(),
                          OldFile oldFile = OldFile::ANY);

/// A file that is to be replaced, and its new contents, which the caller keeps.
struct NewContents {
  std::string fileName;
  std::span<const unsigned char> bytes;
};

/// Makes these the whole contents of several regular files, new or old, all of them or none: each
/// is written under a temporary name beside its file before the first one is renamed. They are
/// renamed in their order, so after a crash between two renames the first ones are new and the
/// others old. In a folder that takes no new file this fails. Should a later rename fail, the
/// outcome is PART_WRITTEN. Unless all is done, `failed` is set to the number of the file that the
/// outcome is about.
ReplaceResult replaceFiles(std::span<const NewContents> files, std::size_t& failed);

#endif
