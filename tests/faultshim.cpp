// Stands between the tool and the C library (LD_PRELOAD), numbers the calls that the tool makes on
// files from 1 on, and lets one of them go wrong. What the C library calls by itself, as for the
// messages, passes unseen. It is told what to do by the environment:
//
//   FAULT_AT    number of the call; 0 for none
//   FAULT_KIND  what happens to it: an error number; SHORT: it moves one byte only; CUT: in.bit is
//               cut short before it; TOUCH: in.bit is written to before it, its size staying; a
//               negated signal number: the signal is raised before it
//   FAULT_NO    the flags of openat() that the folder refuses; 0 for none
//   FAULT_LOG   an open descriptor that takes a line "name result" for every call
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace {

constexpr int SHORT = 1000;
constexpr int CUT = 1001;
constexpr int TOUCH = 1002;

using Function = long(long, long, long, long, long, long);

int setting(const char* name) {
  const char* text = std::getenv(name);
  return text == nullptr ? 0 : static_cast<int>(std::strtol(text, nullptr, 10));
}

long call(std::string_view name, long a, long b, long c, long d, long e, long f) {
  static int calls = 0;
  const int log = setting("FAULT_LOG");
  if (log > 0) ++calls;  // else the process is still being started
  int fault = calls == setting("FAULT_AT") ? setting("FAULT_KIND") : 0;
  if (fault < 0) std::raise(-fault);
  if (fault == CUT && ::truncate("in.bit", 0) != 0) std::abort();
  if (fault == TOUCH && ::utimensat(AT_FDCWD, "in.bit", nullptr, 0) != 0) std::abort();
  if (fault == SHORT) c = 1;
  const long refused = name == "openat" ? c & setting("FAULT_NO") : 0;
  if (refused != 0) fault = refused == O_CREAT ? EACCES : EOPNOTSUPP;
  const bool fails = fault > 0 && fault < SHORT;
  long result = -1;
  if (!fails || name == "close") {  // a close that fails closes all the same
    result = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name.data()))(a, b, c, d, e, f);
  }
  const int error = fails ? fault : errno;
  if (log > 0) dprintf(log, "%s %d\n", name.data(), static_cast<int>(result));
  errno = error;
  return fails ? -1 : result;
}

}  // namespace

// All that these functions take and return is passed in the same registers, whatever its type.
#define CALL(name)                                                         \
  Function name##Intercepted asm(#name);                                   \
  long name##Intercepted(long a, long b, long c, long d, long e, long f) { \
    return call(#name, a, b, c, d, e, f);                                  \
  }

// clang-format off
CALL(access) CALL(close) CALL(fchmod) CALL(fchown) CALL(fcntl) CALL(fstat) CALL(fsync)
CALL(ftruncate) CALL(getrandom) CALL(linkat) CALL(lseek) CALL(madvise) CALL(mmap) CALL(open)
CALL(openat) CALL(read) CALL(readlink) CALL(renameat) CALL(stat) CALL(unlinkat) CALL(write)
