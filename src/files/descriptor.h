// FileDescriptor and FileIdentity: the little of POSIX that reading and writing files share.
#ifndef RAMGRAFT_FILES_DESCRIPTOR_H
#define RAMGRAFT_FILES_DESCRIPTOR_H

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>
#include <string>
#include <utility>

/// Owns an open file descriptor and closes it. Movable, not copyable.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  /// Takes `descriptor` over; a negative one means "not open".
  explicit FileDescriptor(int descriptor) : number(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept : number(std::exchange(other.number, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(number, other.number);
    return *this;
  }
  ~FileDescriptor() { close(); }

  bool isOpen() const { return number >= 0; }
  int get() const { return number; }
  /// Closes the descriptor, if open. 0 or the system's error number: a file system may report only
  /// now that earlier writes were lost.
  int close();
  /// Writes all `size` bytes at the current position. 0 or the system's error number; `written`
  /// then holds how many bytes were taken.
  int write(const unsigned char* bytes, std::size_t size, std::size_t& written) const;

 private:
  int number = -1;
};

/// Which file a name led to, whatever its name: hard links and symlinks have the same identity.
struct FileIdentity {
  dev_t device = 0;
  ino_t inode = 0;

  friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

inline FileIdentity identityOf(const struct stat& status) { return {status.st_dev, status.st_ino}; }
/// The file that the name leads to now; {} if it leads nowhere.
FileIdentity identityOf(const std::string& fileName);

#endif
