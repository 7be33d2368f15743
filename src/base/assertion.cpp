#include "base/assertion.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

// GCOVR_EXCL_START: the process ends here, which leaves no counts
void failAssertion(const char* signature, const char* condition, const char* file, int line) {
  const char* slash = std::strrchr(file, '/');
  std::fprintf(stderr, "%s: %s:%d: %s: Assertion `%s' failed.\n", program_invocation_short_name,
               slash == nullptr ? file : slash + 1, line, signature, condition);
  std::abort();
}
// GCOVR_EXCL_STOP
