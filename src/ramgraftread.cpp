#include "ramgraftread.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

namespace {

// Room for what the file system says the file holds and one byte more, so that the read that finds
// the end needs no growing. Files that can't say (pipes, /proc) start small and grow.
std::size_t expectedBytes(const struct stat& status) {
  constexpr std::size_t SMALLEST = 4096;
  if (!S_ISREG(status.st_mode) || status.st_size < 0) return SMALLEST;
  return std::max(SMALLEST, static_cast<std::size_t>(status.st_size) + 1);
}

using Outcome = ReadResult::Outcome;

// Opens the file and fills in the result as far as it goes. The outcome tells of a failure.
FileDescriptor openToRead(const std::string& fileName, ReadResult& result) {
  FileDescriptor file(::open(fileName.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
  if (!file.isOpen()) {
    result.outcome = Outcome::CANT_OPEN;
    result.error = errno;
  } else if (::fstat(file.get(), &result.status) != 0) {
    result.outcome = Outcome::CANT_READ;
    result.error = errno;
  }
  return file;
}

void readToEnd(const FileDescriptor& file, ByteBuffer& bytes, ReadResult& result) {
  bytes.resize(0);
  bytes.reserve(expectedBytes(result.status));
  for (;;) {
    if (bytes.size() == bytes.capacity()) bytes.reserve(bytes.capacity() * 2);
    const ssize_t count =
        ::read(file.get(), bytes.data() + bytes.size(), bytes.capacity() - bytes.size());
    if (count == 0) return;
    if (count > 0) {
      bytes.resize(bytes.size() + static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      result.outcome = Outcome::CANT_READ;
      result.error = errno;
      return;
    }
  }
}

// What the process says when a mapped file turns out to be cut short. Made beforehand, because a
// signal handler can't.
std::string cutShortMessage;

// Raised by reading the mapped bytes, never within the C library, so that it can be called.
void endOnCutShortFile(int /*signal*/) {
  std::fflush(stdout);
  static_cast<void>(!::write(STDOUT_FILENO, cutShortMessage.data(), cutShortMessage.size()));
  ::_exit(1);
}

}  // namespace

ReadResult readWholeFile(const std::string& fileName, ByteBuffer& bytes) {
  ReadResult result;
  const FileDescriptor file = openToRead(fileName, result);
  if (result.outcome == Outcome::DONE) readToEnd(file, bytes, result);
  return result;
}

ReadResult mapWholeFile(const std::string& fileName, ByteBuffer& bytes) {
  constexpr off_t SMALLEST_MAPPED = off_t{256} << 10;  // below it, mapping costs more than copying
  ReadResult result;
  const FileDescriptor file = openToRead(fileName, result);
  if (result.outcome != Outcome::DONE) return result;
  cutShortMessage = "ERROR: can't read file " + fileName + ": it was cut short while in use\n";
  std::signal(SIGBUS, endOnCutShortFile);
  const bool isLarge = S_ISREG(result.status.st_mode) && result.status.st_size >= SMALLEST_MAPPED;
  // What can't be mapped, or not all of it, is read: that works, or tells the reason.
  if (!isLarge || !bytes.map(file.get(), static_cast<std::size_t>(result.status.st_size))) {
    readToEnd(file, bytes, result);
  }
  return result;
}

bool hasChanged(const InputFile& file) {
  const struct stat& before = file.status;
  struct stat now {};
  if (!S_ISREG(before.st_mode) || ::stat(file.name.c_str(), &now) != 0) return false;
  return identityOf(now) == identityOf(before) &&
         (now.st_size != before.st_size || now.st_mtim.tv_sec != before.st_mtim.tv_sec ||
          now.st_mtim.tv_nsec != before.st_mtim.tv_nsec);
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
