#include "files/read.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

// Room for what the file system says the file holds and one byte more, so that the read that finds
// the end needs no growing. Files that can't say (pipes, /proc) start small and grow.
std::size_t expectedBytes(const struct stat& status) {
  constexpr std::size_t SMALLEST = 4096;
  if (!S_ISREG(status.st_mode) || status.st_size < 0) return SMALLEST;
  return std::max(SMALLEST, static_cast<std::size_t>(status.st_size) + 1);
}

using Outcome = ReadResult::Outcome;

FileDescriptor openToRead(const std::string& fileName) {
  return FileDescriptor(::open(fileName.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
}

// A file's status before it is read. Comes right after the file was opened: errno says why, if it
// is not open.
ReadResult lookAt(const FileDescriptor& file) {
  ReadResult result;
  if (!file.isOpen() || ::fstat(file.get(), &result.status) != 0) {
    result.outcome = file.isOpen() ? Outcome::CANT_READ : Outcome::CANT_OPEN;
    result.error = errno;
  }
  return result;
}

// True if a file was written to between two looks at its status. Misses a change that keeps size
// and time: what was read can then be partly old and partly new.
bool isRewritten(const struct stat& before, const struct stat& now) {
  return now.st_size != before.st_size || now.st_mtim.tv_sec != before.st_mtim.tv_sec ||
         now.st_mtim.tv_nsec != before.st_mtim.tv_nsec;
}

// Appends as many bytes of the file as there is room for. False at the file's end, or with the
// outcome set when the file can't be read.
bool readPiece(const FileDescriptor& file, ByteBuffer& bytes, ReadResult& result) {
  ssize_t count = 0;
  do {
    count = ::read(file.get(), bytes.data() + bytes.size(), bytes.capacity() - bytes.size());
  } while (count < 0 && errno == EINTR);
  struct stat now = result.status;
  if (count < 0 || (count == 0 && ::fstat(file.get(), &now) != 0)) {
    result.outcome = Outcome::CANT_READ;
    result.error = errno;
  } else if (S_ISREG(now.st_mode) && isRewritten(result.status, now)) {
    result.outcome = Outcome::CHANGED;  // its end may be that of the new contents
    result.error = EBUSY;
  } else if (count > 0) {
    bytes.resize(bytes.size() + static_cast<std::size_t>(count));
    return true;
  }
  return false;
}

}  // namespace

ReadResult readWholeFile(const std::string& fileName, ByteBuffer& bytes) {
  return readWholeFile(openToRead(fileName), bytes);
}

ReadResult readWholeFile(const FileDescriptor& file, ByteBuffer& bytes) {
  ReadResult result = lookAt(file);
  if (result.outcome != Outcome::DONE) return result;
  bytes.resize(0);
  bytes.reserve(expectedBytes(result.status));
  while (readPiece(file, bytes, result)) {
    if (bytes.size() == bytes.capacity()) bytes.reserve(bytes.capacity() * 2);
  }
  return result;
}

LineReader::LineReader(const std::string& fileName, std::string_view commentCharacters)
    : comments(commentCharacters), file(openToRead(fileName)), result(lookAt(file)) {
  constexpr std::size_t PIECE = 64 << 10;  // stays in a cache until its lines have been used
  bytes.reserve(PIECE);
  readMore();
}

// Moves the bytes not yet returned to the front and appends more. False when the file has no more,
// or can't be read.
bool LineReader::readMore() {
  if (!file.isOpen() || result.outcome != Outcome::DONE) return false;
  const std::size_t left = bytes.size() - begin;
  std::memmove(bytes.data(), bytes.data() + begin, left);
  bytes.resize(left);
  begin = 0;
  if (left == bytes.capacity()) bytes.reserve(bytes.capacity() * 2);
  if (readPiece(file, bytes, result)) return true;
  file.close();
  return false;
}

// Takes the next line of any kind. False when there is none, or only a part of it could be read.
bool LineReader::takeLine(std::string_view& line) {
  std::size_t end = rest().find('\n');
  while (end == std::string_view::npos) {
    const std::size_t searched = rest().size();
    if (!readMore()) break;
    end = rest().find('\n', searched);
  }
  const std::string_view untaken = rest();
  const bool isLast = end == std::string_view::npos;  // it may lack its line end
  if (isLast && (untaken.empty() || result.outcome != Outcome::DONE)) return false;
  line = untaken.substr(0, end);
  begin += isLast ? line.size() : line.size() + 1;
  ++number;
  return true;
}

bool LineReader::next(TextLine& line) {
  while (takeLine(line.text)) {
    if (line.text.empty() || comments.find(line.text.front()) != std::string_view::npos) continue;
    if (line.text.find('\r') != std::string_view::npos) line.text.remove_suffix(1);
    line.number = number;
    return true;
  }
  return false;
}
