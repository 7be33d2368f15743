// The way of a regular file: write to a file without a name in the target's folder, give it a
// temporary name, rename it over the target. Where the file system knows no unnamed files, or there
// is no /proc to name them through, the temporary has its name from the start. Signals wait for as
// long as there may be such a name.
#include "files/replace.h"

#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <string_view>

#include "base/bytebuffer.h"
#include "files/read.h"

namespace {

// ---- Names ----

// The number in the name of an open descriptor, or -1 for any other name.
int namedDescriptor(std::string_view path) {
  if (path == "/dev/stdout") return STDOUT_FILENO;
  if (path == "/dev/stderr") return STDERR_FILENO;
  for (const std::string_view folder : {"/dev/fd/", "/proc/self/fd/"}) {
    if (!path.starts_with(folder)) continue;
    const std::string_view digits = path.substr(folder.size());
    int number = -1;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (error == std::errc() && end == digits.data() + digits.size()) return number;
  }
  return -1;
}

// The folder part of a path, with its slash; empty for a name in the working folder.
std::string folderOf(const std::string& path) { return path.substr(0, path.rfind('/') + 1); }

// Follows the symlinks that the last component of a path leads through, so that the file at their
// end, which need not exist, is replaced and not a link. Stops at the name of an open descriptor,
// and at another process's, where the text of a link is no path. 0 or the error number.
int followLinks(std::string& path) {
  constexpr int MOST_LINKS = 40;  // as many as the system itself follows
  std::array<char, PATH_MAX> target;
  for (int links = 0; links < MOST_LINKS; ++links) {
    const bool isProcess = path.starts_with("/proc/") && path.find("/fd/") != std::string::npos;
    if (namedDescriptor(path) >= 0 || isProcess) return 0;
    const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
    if (length < 0) return errno == EINVAL || errno == ENOENT ? 0 : errno;  // no link, or nothing
    const std::string_view to(target.data(), static_cast<std::size_t>(length));
    path = to.starts_with('/') ? std::string(to) : folderOf(path).append(to);
  }
  return ELOOP;
}

// ---- The temporary ----

// A name beside the target that no other file has. Its end removes the file that was made under it,
// unless that has been renamed; the file of another that has the name nevertheless stays.
class TemporaryName {
 public:
  explicit TemporaryName(int folderDescriptor) : folder(folderDescriptor) {
    std::uint64_t random = 0;
    if (::getrandom(&random, sizeof random, 0) != sizeof random) {
      random = static_cast<std::uint64_t>(::getpid());
    }
    std::snprintf(name.data(), name.size(), ".ramgraft-%016llx.tmp",
                  static_cast<unsigned long long>(random));
  }
  TemporaryName(const TemporaryName&) = delete;
  TemporaryName& operator=(const TemporaryName&) = delete;
  TemporaryName(TemporaryName&&) = delete;
  TemporaryName& operator=(TemporaryName&&) = delete;
  ~TemporaryName() {
    if (isMade) ::unlinkat(folder, name.data(), 0);
  }

  // Gives an open file without a name this one. Whether that was done.
  bool give(const FileDescriptor& file) {
    const std::string self = "/proc/self/fd/" + std::to_string(file.get());
    isMade = ::linkat(AT_FDCWD, self.c_str(), folder, name.data(), AT_SYMLINK_FOLLOW) == 0;
    return isMade;
  }

  // Makes and opens a file of this name.
  FileDescriptor create(mode_t mode) {
    FileDescriptor file(
        ::openat(folder, name.data(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
    isMade = file.isOpen();
    return file;
  }

  // Renames the file to `target` in the same folder. 0 or the error number.
  int renameTo(const std::string& target) {
    if (::renameat(folder, name.data(), folder, target.c_str()) != 0) return errno;
    isMade = false;
    return 0;
  }

 private:
  int folder;
  std::array<char, 40> name{};
  bool isMade = false;
};

// ---- Writing ----

// What is to be written, and over what.
struct Replacement {
  std::string path;  ///< links followed
  const unsigned char* bytes;
  std::size_t size;
  bool isOldKnown;        ///< a file of that name is there ...
  struct stat oldStatus;  ///< ... and this is its status
  bool isFlushed;         ///< to be on the disk before it replaces the old file
  const FileIdentity& input;
};

// Gives a new file the old one's owner, group and mode. Owner and group only where that is allowed;
// the bits that lend the owner's rights are then not passed on to another's file.
int takeOverOwnerAndMode(const FileDescriptor& file, const struct stat& old) {
  struct stat status {};
  if (::fstat(file.get(), &status) != 0) return errno;
  mode_t mode = old.st_mode & 07777;
  const bool isSameOwner = status.st_uid == old.st_uid && status.st_gid == old.st_gid;
  if (!isSameOwner && ::fchown(file.get(), old.st_uid, old.st_gid) != 0) {
    static_cast<void>(!::fchown(file.get(), static_cast<uid_t>(-1), old.st_gid));
    mode &= 0777;
  }
  if ((status.st_mode & 07777) == mode) return 0;
  return ::fchmod(file.get(), mode) == 0 ? 0 : errno;
}

// Everything between the opening of a temporary file and its renaming.
int fill(const FileDescriptor& file, const Replacement& replacement) {
  std::size_t written = 0;
  int error = file.write(replacement.bytes, replacement.size, written);
  if (error == 0 && replacement.isOldKnown)
    error = takeOverOwnerAndMode(file, replacement.oldStatus);
  if (error == 0 && replacement.isFlushed && ::fsync(file.get()) != 0) error = errno;
  return error;
}

// Whether the error means that the folder takes no new file, or that the target can't be renamed
// over: another's file in a folder like /tmp, or a file that is a mount point of its own.
bool mustStayInPlace(int error) {
  return error == EACCES || error == EPERM || error == EROFS || error == EBUSY;
}

// Writes beside the target and renames. `isInPlaceOnly` tells that this folder can't have that.
int replaceByRename(const Replacement& replacement, const SignalHold& signals,
                    bool& isInPlaceOnly) {
  const std::string folderName = folderOf(replacement.path);
  const FileDescriptor folder(
      ::open(folderName.empty() ? "." : folderName.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!folder.isOpen()) return errno;

  // Until it has the mode of the old file, which may be a private one, it is for nobody else.
  const mode_t mode = replacement.isOldKnown ? 0600 : 0666;
  FileDescriptor file(::openat(folder.get(), ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, mode));
  if (file.isOpen()) {
    if (const int error = fill(file, replacement); error != 0) return error;
  }
  signals.begin();  // they would leave the temporary behind
  TemporaryName name(folder.get());
  if (!file.isOpen() || !name.give(file)) {
    file = name.create(mode);
    if (!file.isOpen()) {
      isInPlaceOnly = mustStayInPlace(errno);
      return errno;
    }
    if (const int error = fill(file, replacement); error != 0) return error;
  }
  if (const int error = file.close(); error != 0) return error;
  const int error = name.renameTo(replacement.path.substr(folderName.size()));
  isInPlaceOnly = mustStayInPlace(error);
  return error;
}

// Overwrites an open old file. Its old bytes are kept meanwhile, so that those already overwritten
// can be put back when the rest can't be written; a file that doesn't let itself be read is
// refused.
int writeInPlace(const Replacement& replacement, FileDescriptor& file, const SignalHold& signals) {
  signals.begin();  // between two blocks the file is neither old nor new
  ByteBuffer oldBytes;
  const ReadResult old = readWholeFile(replacement.path, oldBytes);
  if (old.outcome != ReadResult::Outcome::DONE) return old.error;
  std::size_t written = 0;
  int error = file.write(replacement.bytes, replacement.size, written);
  if (error == 0 && ::ftruncate(file.get(), static_cast<off_t>(replacement.size)) != 0) {
    error = errno;
  }
  if (error == 0 && replacement.isFlushed && ::fsync(file.get()) != 0) error = errno;
  if (error != 0 && ::lseek(file.get(), 0, SEEK_SET) == 0) {
    std::size_t restored = 0;
    static_cast<void>(file.write(oldBytes.data(), std::min(written, oldBytes.size()), restored));
    static_cast<void>(::ftruncate(file.get(), static_cast<off_t>(oldBytes.size())));
  }
  const int closeError = file.close();
  return error != 0 ? error : closeError;
}

int writeDirectly(const Replacement& replacement, FileDescriptor file) {
  struct stat status {};
  if (!file.isOpen() || ::fstat(file.get(), &status) != 0) return errno;
  // The descriptor's position decides what is overwritten, so the input would become a mixture.
  if (identityOf(status) == replacement.input && S_ISREG(status.st_mode)) return EBUSY;
  std::size_t written = 0;
  const int error = file.write(replacement.bytes, replacement.size, written);
  const int closeError = file.close();
  return error != 0 ? error : closeError;
}

}  // namespace

SignalHold::SignalHold() { ::sigprocmask(SIG_BLOCK, nullptr, &before); }

SignalHold::~SignalHold() { ::sigprocmask(SIG_SETMASK, &before, nullptr); }

void SignalHold::begin() const {
  sigset_t all;
  ::sigfillset(&all);
  ::sigprocmask(SIG_BLOCK, &all, nullptr);
}

int replaceFile(const std::string& fileName, const unsigned char* bytes, std::size_t size,
                const FileIdentity& input, const SignalHold& signals) {
  Replacement replacement{fileName, bytes, size, false, {}, false, input};
  if (const int error = followLinks(replacement.path); error != 0) return error;
  // A descriptor shares its place in the file with the messages that went there before; opening
  // its name again would start from the beginning.
  const int descriptor = namedDescriptor(replacement.path);
  if (descriptor >= 0) {
    return writeDirectly(replacement, FileDescriptor(::fcntl(descriptor, F_DUPFD_CLOEXEC, 3)));
  }

  FileDescriptor old(::open(replacement.path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY));
  if (!old.isOpen() && errno != ENOENT) return errno;
  bool isInPlaceOnly = false;
  if (!old.isOpen()) return replaceByRename(replacement, signals, isInPlaceOnly);

  if (::fstat(old.get(), &replacement.oldStatus) != 0) return errno;
  if (!S_ISREG(replacement.oldStatus.st_mode)) return writeDirectly(replacement, std::move(old));
  replacement.isOldKnown = true;
  replacement.isFlushed = identityOf(replacement.oldStatus) == input;
  const int error = replaceByRename(replacement, signals, isInPlaceOnly);
  return isInPlaceOnly ? writeInPlace(replacement, old, signals) : error;
}
