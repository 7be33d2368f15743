#include "files/access.h"

#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace {

// Whether the error means that owner, group or access list can't be passed on here. EINVAL: they
// name somebody who doesn't exist in this container.
bool isNotAllowed(int error) { return error == EPERM || error == EINVAL || error == EOPNOTSUPP; }

constexpr const char* ACCESS_LIST = "system.posix_acl_access";

// An access control list in the system's own form: 4 bytes, then entries of 8, each a tag and
// rights, two bytes little-endian, and for whom. While a file has one, the group bits of its mode
// are the most that the list can grant, and the group's own rights are in the list.
struct AccessList {
  std::array<unsigned char, 64 << 10> bytes;  // the system takes no larger one
  std::size_t size = 0;                       // 0 if the file has no list

  // 0, with or without a list, or the error number.
  int read(const FileDescriptor& file) {
    const ssize_t count = ::fgetxattr(file.get(), ACCESS_LIST, bytes.data(), bytes.size());
    if (count < 0) return errno == ENODATA || errno == EOPNOTSUPP ? 0 : errno;
    size = static_cast<std::size_t>(count);
    return 0;
  }

  // The rights of the group, which every list has.
  unsigned char& groupRights() {
    constexpr std::size_t HEADER = 4, ENTRY = 8, RIGHTS = 2;
    constexpr unsigned char GROUP = 4;
    std::size_t at = HEADER;
    while (bytes[at] != GROUP && at + ENTRY < size) at += ENTRY;
    return bytes[at + RIGHTS];
  }
};

// Gives a new file the old one's owner and group where that is allowed. Where not, takes from
// `mode` and `list` what would give another owner or group more than it had.
int copyOwner(const FileDescriptor& file, const struct stat& old, AccessList& list, mode_t& mode) {
  if (::fchown(file.get(), old.st_uid, old.st_gid) == 0) return 0;
  if (!isNotAllowed(errno)) return errno;
  mode &= 0777;  // with these bits the program would run with the rights of another owner
  if (::fchown(file.get(), static_cast<uid_t>(-1), old.st_gid) == 0) return 0;
  if (!isNotAllowed(errno)) return errno;
  if (list.size > 0) {
    list.groupRights() = 0;
  } else {
    mode &= 0700 | (mode >> 3 & 07);  // the old group is now among the others
  }
  return 0;
}

// Gives a new file the old one's access list, or none instead of one inherited from its folder.
// Where that isn't allowed, `mode` loses what the list kept from the group.
int copyList(const FileDescriptor& file, AccessList& list, mode_t& mode) {
  if (list.size > 0) {
    if (::fsetxattr(file.get(), ACCESS_LIST, list.bytes.data(), list.size, 0) == 0) return 0;
    if (!isNotAllowed(errno)) return errno;
    mode &= 07707 | static_cast<mode_t>(list.groupRights()) << 3;
  }
  if (::fremovexattr(file.get(), ACCESS_LIST) == 0) return 0;
  return errno == ENODATA || errno == EOPNOTSUPP ? 0 : errno;
}

}  // namespace

int copyAccess(const FileDescriptor& from, const struct stat& fromStatus,
               const FileDescriptor& to) {
  struct stat status {};
  if (::fstat(to.get(), &status) != 0) return errno;
  AccessList list;
  int error = list.read(from);
  mode_t mode = fromStatus.st_mode & 07777;
  const bool isSameOwner = status.st_uid == fromStatus.st_uid && status.st_gid == fromStatus.st_gid;
  if (error == 0 && !isSameOwner) error = copyOwner(to, fromStatus, list, mode);
  if (error == 0) error = copyList(to, list, mode);
  // Some file systems have the same mode for all files and refuse to set any.
  if (error != 0 || (status.st_mode & 07777) == mode) return error;
  return ::fchmod(to.get(), mode) == 0 ? 0 : errno;
}
