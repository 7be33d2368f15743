#include "files/read.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace {

using Outcome = ReadResult::Outcome;

// True if a file was written to between two looks at its status. Misses a change that keeps size
// and time: what was read can then be partly old and partly new.
bool isRewritten(const struct stat& before, const struct stat& now) {
  return S_ISREG(now.st_mode) &&
         (now.st_size != before.st_size || now.st_mtim.tv_sec != before.st_mtim.tv_sec ||
          now.st_mtim.tv_nsec != before.st_mtim.tv_nsec);
}

// True if the file says that it has more bytes.
bool isLargerThan(std::size_t bytes, const struct stat& status) {
  return status.st_size > 0 && static_cast<std::uint64_t>(status.st_size) > bytes;
}

// A socket, and what this user may not open, can be read as standard input, but its name opens it
// anew.
FileDescriptor openFile(const std::string& fileName) {
  FileDescriptor file(::open(fileName.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
  const bool canDuplicate = errno == ENXIO || errno == EACCES;
  if (file.isOpen() || fileName != "/dev/stdin" || !canDuplicate) return file;
  return FileDescriptor(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

}  // namespace

ReadResult readWholeFile(const std::string& fileName, ByteBuffer& bytes, std::size_t mostBytes) {
  return readWholeFile(openFile(fileName), bytes, mostBytes);
}

ReadResult readWholeFile(const FileDescriptor& file, ByteBuffer& bytes, std::size_t mostBytes) {
  ReadResult result;
  if (!file.isOpen()) return {Outcome::CANT_OPEN, errno, {}};
  if (::fstat(file.get(), &result.status) != 0) return {Outcome::CANT_READ, errno, {}};
  if (isLargerThan(mostBytes, result.status)) return {Outcome::TOO_LARGE, EFBIG, result.status};
  // With a byte more than the file has, the read that finds its end needs no growing. Files that
  // can't say how many they have (pipes, /proc) start small.
  constexpr std::size_t SMALLEST = 4096;
  bytes.reserve(std::max(SMALLEST, static_cast<std::size_t>(result.status.st_size) + 1));
  for (ssize_t count = 1; count != 0;) {
    if (bytes.size() == bytes.capacity()) bytes.reserve(bytes.capacity() * 2);
    count = ::read(file.get(), bytes.data() + bytes.size(), bytes.capacity() - bytes.size());
    if (count > 0) bytes.resize(bytes.size() + static_cast<std::size_t>(count));
    if (count < 0 && errno != EINTR) return {Outcome::CANT_READ, errno, result.status};
    if (bytes.size() > mostBytes) return {Outcome::TOO_LARGE, EFBIG, result.status};
  }
  struct stat now {};
  if (::fstat(file.get(), &now) != 0) return {Outcome::CANT_READ, errno, result.status};
  // Else the bytes could be old contents at the beginning and new ones at the end.
  if (isRewritten(result.status, now)) return {Outcome::CHANGED, EBUSY, result.status};
  // Network file systems do that when they lose a part of the file.
  if (S_ISREG(now.st_mode) && isLargerThan(bytes.size(), now)) {
    return {Outcome::CUT_SHORT, EIO, result.status};
  }
  return result;
}

LineReader::LineReader(const std::string& file, std::string_view commentCharacters)
    : fileName(file),
      comments(commentCharacters),
      result(readWholeFile(fileName, bytes, MOST_INPUT_BYTES)) {
  if (result.outcome == Outcome::DONE) rest = bytes.text();
}

bool LineReader::next(TextLine& line) {
  while (!rest.empty()) {
    line.text = rest.substr(0, rest.find('\n'));
    line.number = ++number;
    rest.remove_prefix(std::min(line.text.size() + 1, rest.size()));  // the last may lack its end
    if (line.text.empty() || comments.find(line.text.front()) != std::string_view::npos) continue;
    if (line.text.find('\r') != std::string_view::npos) line.text.remove_suffix(1);
    return true;
  }
  return false;
}
