// Comes between the tool and the C library (LD_PRELOAD), numbers the calls that the tool makes on
// files from 1 on, and lets some of them go wrong. What the C library calls by itself passes
// unseen. FAULT in the environment holds five numbers:
//
//   at    number of the call that goes wrong; 0 for none
//   last  number of the last call in a row that goes wrong
//   kind  what happens to them: an error number; SHORT: they move one byte only; END: no byte;
//         STARVE: from there on there is no memory for objects; BEFORE: a shell first does what
//         BEFORE in the environment says; a negated signal number: the signal is raised first
//   no    the flags of openat() that the folder refuses; 0 for none
//   log   an open descriptor that takes a line "name result" for every call
#include <dlfcn.h>
#include <fcntl.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string_view>

enum Fault { SHORT = 1000, STARVE, BEFORE, END };
using Function = long(long, long, long, long, long, long);

static bool isStarved = false;

void* operator new(std::size_t size) {
  void* const memory = isStarved ? nullptr : std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

static void doBefore() {
  ::unsetenv("LD_PRELOAD");
  if (std::system(std::getenv("BEFORE")) != 0) std::abort();
}

static long call(std::string_view name, long a, long b, long c, long d, long e, long f) {
  static int calls = 0, at = 0, last = 0, kind = 0, no = 0, log = -1;
  const char* text = std::getenv("FAULT");  // not there yet while the process is being started
  if (text != nullptr && calls++ == 0) {
    std::sscanf(text, "%d %d %d %d %d", &at, &last, &kind, &no, &log);
  }
  int fault = calls >= at && calls <= last ? kind : 0;
  if (fault < 0) std::raise(-fault);
  if (fault == BEFORE) doBefore();
  if (fault == STARVE) isStarved = true;
  if (fault == SHORT) c = 1;
  if (fault == END) c = 0;
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
CALL(close) CALL(fallocate) CALL(fchmod) CALL(fchown) CALL(fcntl) CALL(fgetxattr) CALL(flock) CALL(fremovexattr)
CALL(fsetxattr) CALL(fstat) CALL(fsync) CALL(ftruncate) CALL(getrandom) CALL(linkat) CALL(lseek)
CALL(open) CALL(openat) CALL(read) CALL(readlinkat) CALL(renameat) CALL(unlinkat) CALL(write)
CALL(writev)
