// Who may do what with a file, passed on to the file that replaces it.
#ifndef RAMGRAFT_FILES_ACCESS_H
#define RAMGRAFT_FILES_ACCESS_H

#include "files/descriptor.h"

/// Gives a new file the owner, group, access control list and mode of the open file `old`, as far
/// as that is allowed, so that nobody has more rights than before. `oldStatus` is the old file's
/// status. Returns 0, or the system's error number.
int takeOverAccess(const FileDescriptor& file, const FileDescriptor& old,
                   const struct stat& oldStatus);

#endif
