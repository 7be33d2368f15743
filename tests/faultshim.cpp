// Stands between the tool and the C library (LD_PRELOAD), numbers the calls that the tool makes on
// files from 1 on, and lets one of them go wrong. What the C library calls by itself, as for the
// messages, passes unseen. FAULT in the environment holds four numbers:
//
//   at    number of the call that goes wrong; 0 for none
//   kind  what happens to it: an error number; SHORT: it moves one byte only; CUT: in.bit is cut
//         short before it; TOUCH: the inputs are written to before it, their sizes staying; a
//         negated signal number: the signal is raised before it
//   no    the flags of openat() that the folder refuses; 0 for none
//   log   an open descriptor that takes a line "name result" for every call
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string_view>

enum Fault { SHORT = 1000, CUT, TOUCH };
using Function = long(long, long, long, long, long, long);

static long call(std::string_view name, long a, long b, long c, long d, long e, long f) {
  static int calls = 0;
  const char* text = std::getenv("FAULT");  // not there yet while the process is being started
  int at = 0, fault = 0, no = 0, log = -1;
  if (text != nullptr) std::sscanf(text, "%d %d %d %d", &at, &fault, &no, &log);
  if (text == nullptr || ++calls != at) fault = 0;
  if (fault < 0) std::raise(-fault);
  if (fault == CUT && ::truncate("in.bit", 0) != 0) std::abort();
  for (const char* input : {"in.bit", "ram.wid", "words.mem"}) {
    if (fault == TOUCH && ::utimensat(AT_FDCWD, input, nullptr, 0) != 0) std::abort();
  }
  if (fault == SHORT) c = 1;
  const long refused = name == "openat" ? c & no : 0;
  if (refused != 0) fault = refused == O_CREAT ? EACCES : EOPNOTSUPP;
  const bool fails = fault > 0 && fault < SHORT;
  auto* const function = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name.data()));
  // A close that fails closes all the same.
  const long result = fails && name != "close" ? -1 : function(a, b, c, d, e, f);
  const int error = fails ? fault : errno;
  if (log > 0) dprintf(log, "%s %d\n", name.data(), static_cast<int>(result));
  errno = error;
  return fails ? -1 : result;
}

// All that these functions take and return is passed in the same registers, whatever its type.
#define CALL(name)                                                         \
  Function name##Intercepted asm(#name);                                   \
  long name##Intercepted(long a, long b, long c, long d, long e, long f) { \
    return call(#name, a, b, c, d, e, f);                                  \
  }

// clang-format off
CALL(close) CALL(fchmod) CALL(fchown) CALL(fcntl) CALL(fstat) CALL(fsync)
CALL(ftruncate) CALL(getrandom) CALL(linkat) CALL(lseek) CALL(madvise) CALL(mmap) CALL(open)
CALL(openat) CALL(read) CALL(readlink) CALL(renameat) CALL(stat) CALL(unlinkat) CALL(write)
