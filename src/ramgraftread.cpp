#include "ramgraftread.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace {

// Room for what the file system says the file holds and one byte more, so that the read that finds
// the end needs no growing. Files that can't say (pipes, /proc) start small and grow.
std::size_t expectedBytes(const struct stat& status) {
  constexpr std::size_t SMALLEST = 4096;
  if (!S_ISREG(status.st_mode) || status.st_size < 0) return SMALLEST;
  return std::max(SMALLEST, static_cast<std::size_t>(status.st_size) + 1);
}

}  // namespace

ReadResult readWholeFile(const std::string& fileName, ByteBuffer& bytes) {
  using Outcome = ReadResult::Outcome;
  const FileDescriptor file(::open(fileName.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
  if (!file.isOpen()) return {Outcome::CANT_OPEN, errno, {}};
  struct stat status {};
  if (::fstat(file.get(), &status) != 0) return {Outcome::CANT_READ, errno, {}};
  bytes.resize(0);
  bytes.reserve(expectedBytes(status));
  for (;;) {
    if (bytes.size() == bytes.capacity()) bytes.reserve(bytes.capacity() * 2);
    const ssize_t count =
        ::read(file.get(), bytes.data() + bytes.size(), bytes.capacity() - bytes.size());
    if (count == 0) return {Outcome::DONE, 0, identityOf(status)};
    if (count > 0) {
      bytes.resize(bytes.size() + static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      return {Outcome::CANT_READ, errno, identityOf(status)};
    }
  }
}

bool LineReader::next(TextLine& line) {
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    line.text = rest.substr(0, end);
    line.number = ++number;
    rest.remove_prefix(std::min(end + 1, rest.size()));
    if (line.text.empty() || comments.find(line.text.front()) != std::string_view::npos) continue;
    if (line.text.find('\r') != std::string_view::npos) line.text.remove_suffix(1);
    return true;
  }
  return false;
}
