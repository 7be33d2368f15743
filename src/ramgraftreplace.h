// Replacing a file so that nothing is lost, whatever happens.
#ifndef RAMGRAFTREPLACE_H
#define RAMGRAFTREPLACE_H

#include <cstddef>
#include <string>

#include "ramgraftdescriptor.h"

/// Makes `size` bytes the whole contents of the named file and returns 0, or the system's error
/// number when that failed.
///
/// A regular file, new or old, is written under a temporary name beside it and renamed over it: at
/// any moment the name leads to the complete old file or the complete new one, and a failure or the
/// signals INT, TERM and HUP leave no temporary behind. A symlink stays, the file it leads to is
/// replaced; an old file's mode is kept, and its owner where allowed. A file that can't be opened
/// for writing is not replaced. Where the folder takes no new file, an old one is written in place
/// and put back as it was when that fails; its other hard links change with it. Devices, pipes and
/// the names of open descriptors
/// (/dev/stdout, /dev/fd/N) are written directly.
///
/// `original` is the file that the contents were made from. When the name leads to that file, the
/// new contents are flushed to the disk before they replace it: only then is there something that
/// can't be made again.
int replaceFile(const std::string& fileName, const unsigned char* bytes, std::size_t size,
                const FileIdentity& original);

#endif
