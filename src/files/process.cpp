#include "files/process.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>

void prepareProcess() {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    if (::fcntl(descriptor, F_GETFD) >= 0) continue;
    // The kernel gives the lowest free number, this one. /dev/null won't do: opened by a name of
    // the descriptor, such as /dev/stdin, it would pass for an empty input file. A folder can't be
    // read or written, whatever name it is opened by.
    static_cast<void>(::open("/", O_PATH | O_DIRECTORY));
  }
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
}
