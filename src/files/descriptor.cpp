#include "files/descriptor.h"

#include <unistd.h>

#include <cerrno>

int FileDescriptor::close() {
  if (!isOpen()) return 0;
  // Linux frees the descriptor also when close reports an error or an interruption.
  return ::close(std::exchange(number, -1)) == 0 || errno == EINTR ? 0 : errno;
}

int FileDescriptor::write(const unsigned char* bytes, std::size_t size,
                          std::size_t& written) const {
  for (written = 0; written < size;) {
    const ssize_t count = ::write(number, bytes + written, size - written);
    if (count == 0) return EIO;  // would go on for ever
    if (count > 0) {
      written += static_cast<std::size_t>(count);
    } else if (errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

FileIdentity identityOf(const std::string& fileName) {
  struct stat status {};
  return ::stat(fileName.c_str(), &status) == 0 ? identityOf(status) : FileIdentity();
}
