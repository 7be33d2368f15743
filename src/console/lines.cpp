#include "console/lines.h"

#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <span>

#include "base/assertion.h"

namespace {

// Removes the first `count` bytes of what is still to be written.
std::span<iovec> dropWritten(std::span<iovec> left, std::size_t count) {
  while (!left.empty() && count >= left.front().iov_len) {
    count -= left.front().iov_len;
    left = left.subspan(1);
  }
  if (!left.empty()) {
    left.front().iov_base = static_cast<char*>(left.front().iov_base) + count;
    left.front().iov_len -= count;
  }
  return left;
}

// One system call for the whole line, so that no other process's line comes into its middle; more
// only where the system takes a part. False with errno set when the line could not be written.
bool writeLine(int descriptor, std::initializer_list<std::string_view> pieces) {
  assertThat(pieces.size() <= MOST_PIECES, "bool writeLine(int, std::initializer_list)",
             "pieces.size() <= MOST_PIECES");
  std::array<iovec, MOST_PIECES + 1> line;
  std::size_t count = 0;
  for (const std::string_view piece : pieces) {
    line[count++] = {const_cast<char*>(piece.data()), piece.size()};
  }
  line[count++] = {const_cast<char*>("\n"), 1};
  std::span<iovec> left = std::span(line).first(count);
  while (!left.empty()) {
    const ssize_t written = ::writev(descriptor, left.data(), static_cast<int>(left.size()));
    if (written > 0) {
      left = dropWritten(left, static_cast<std::size_t>(written));
    } else if (written == 0 || errno != EINTR) {
      return false;
    }
  }
  return true;
}

}  // namespace

void printPieces(std::initializer_list<std::string_view> pieces) {
  static std::atomic<bool> isLossReported = false;  // threads may print
  if (writeLine(STDOUT_FILENO, pieces) || isLossReported.exchange(true)) return;
  printWarning("can't write to standard output: ", std::strerror(errno));
}

void printDiagnosticPieces(std::initializer_list<std::string_view> pieces) {
  static_cast<void>(writeLine(STDERR_FILENO, pieces));
}
