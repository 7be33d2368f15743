// Who may do what with a file, passed on to the file that replaces it.
#ifndef RAMGRAFT_FILES_ACCESS_H
#define RAMGRAFT_FILES_ACCESS_H

#include "files/descriptor.h"

/// Gives the new file `to` the owner, group, access control list and mode of the open file `from`,
/// as far as that is allowed, so that nobody has more rights than before. `fromStatus` is the
/// status of `from`. Returns 0, or the system's error number.
int copyAccess(const FileDescriptor& from, const struct stat& fromStatus, const FileDescriptor& to);

#endif
