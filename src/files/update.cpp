#include "files/update.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <chrono>
#include <thread>
#include <utility>

namespace {

using Clock = std::chrono::steady_clock;

// Waits for the lock. 0 or the error number, EWOULDBLOCK after the deadline. Asks again and again,
// because only a signal could end a wait in the system itself.
int lock(const FileDescriptor& file, Clock::time_point deadline) {
  constexpr std::chrono::milliseconds PAUSE(10);
  while (::flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
    if (errno == EINTR) continue;
    if (errno != EWOULDBLOCK || Clock::now() > deadline) return errno;
    std::this_thread::sleep_for(PAUSE);
  }
  return 0;
}

}  // namespace

Update beginUpdate(const std::string& inputFile, const std::string& outputFile) {
  const auto deadline = Clock::now() + std::chrono::seconds(LONGEST_WAIT_SECONDS);
  for (;;) {
    struct stat status {};
    if (::stat(inputFile.c_str(), &status) != 0 || !S_ISREG(status.st_mode) ||
        identityOf(outputFile) != identityOf(status)) {
      return {};
    }
    Update update;
    update.file = FileDescriptor(::open(inputFile.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (!update.file.isOpen()) return {};  // reading it says why
    const int error = lock(update.file, deadline);
    update.isTimedOut = error == EWOULDBLOCK;
    update.old = error == 0 ? OldFile::LOCKED_INPUT : OldFile::INPUT;
    const bool isKnown = ::fstat(update.file.get(), &status) == 0;
    if (error != 0 || !isKnown || identityOf(inputFile) == identityOf(status)) return update;
  }
}
