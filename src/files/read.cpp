#include "files/read.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
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

// Opens the file and fills in the result as far as it goes. The outcome tells of a failure; the
// file is then not open.
FileDescriptor openToRead(const std::string& fileName, ReadResult& result) {
  FileDescriptor file(::open(fileName.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
  if (!file.isOpen()) {
    result.outcome = Outcome::CANT_OPEN;
    result.error = errno;
  } else if (::fstat(file.get(), &result.status) != 0) {
    result.outcome = Outcome::CANT_READ;
    result.error = errno;
    file.close();
  }
  return file;
}

// Whether a file was written to between two looks at its status, as far as that shows.
bool isRewritten(const struct stat& before, const struct stat& now) {
  return now.st_size != before.st_size || now.st_mtim.tv_sec != before.st_mtim.tv_sec ||
         now.st_mtim.tv_nsec != before.st_mtim.tv_nsec;
}

// Reads on behind the bytes held, as many as there is room for. False at the file's end, or with
// the outcome set when the file can't be read.
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

void readToEnd(const FileDescriptor& file, ByteBuffer& bytes, ReadResult& result) {
  bytes.resize(0);
  bytes.reserve(expectedBytes(result.status));
  while (readPiece(file, bytes, result)) {
    if (bytes.size() == bytes.capacity()) bytes.reserve(bytes.capacity() * 2);
  }
}

// What the process says when a mapped file turns out to be cut short. Made beforehand, because a
// signal handler can't.
std::string cutShortMessage;

void endOnCutShortFile(int /*signal*/) {
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

ReadResult readOrMapWholeFile(const std::string& fileName, ByteBuffer& bytes) {
  // Each mapped page that changes is copied by itself, which is dear. Below this size runs that
  // change much are faster without, and none can be ended by what is done to the file.
  constexpr off_t SMALLEST_MAPPED = off_t{16} << 20;
  ReadResult result;
  const FileDescriptor file = openToRead(fileName, result);
  if (result.outcome != Outcome::DONE) return result;
  const bool isMapped = S_ISREG(result.status.st_mode) && result.status.st_size >= SMALLEST_MAPPED;
  // What can't be mapped, or not all of it, is read: that works, or tells the reason.
  if (!isMapped || !bytes.map(file.get(), static_cast<std::size_t>(result.status.st_size))) {
    readToEnd(file, bytes, result);
    return result;
  }
  cutShortMessage = "ERROR: can't read file " + fileName + ": it was cut short while in use\n";
  std::signal(SIGBUS, endOnCutShortFile);
  return result;
}

bool hasChanged(const InputFile& file) {
  const struct stat& before = file.status;
  struct stat now {};
  if (!S_ISREG(before.st_mode) || ::stat(file.name.c_str(), &now) != 0) return false;
  return identityOf(now) == identityOf(before) && isRewritten(before, now);
}

LineReader::LineReader(const std::string& fileName, std::string_view commentCharacters)
    : comments(commentCharacters), file(openToRead(fileName, result)) {
  constexpr std::size_t PIECE = 64 << 10;  // stays in a cache until its lines have been used
  bytes.reserve(PIECE);
  readMore();
}

// Moves what was not taken yet to the front and reads on behind it. False when the file holds no
// more, or can't be read.
bool LineReader::readMore() {
  if (!file.isOpen()) return false;
  const std::size_t left = bytes.size() - begin;
  std::memmove(bytes.data(), bytes.data() + begin, left);
  bytes.resize(left);
  begin = 0;
  if (left == bytes.capacity()) bytes.reserve(bytes.capacity() * 2);
  if (readPiece(file, bytes, result)) return true;
  file.close();
  return false;
}

// Takes the next line of any kind. False when there is none, or not all of it.
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
