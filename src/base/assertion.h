// Assertions that stay on in every build type: a broken invariant must stop the run before a
// damaged bitstream can be written.
#ifndef RAMGRAFT_BASE_ASSERTION_H
#define RAMGRAFT_BASE_ASSERTION_H

/// Writes "program: file:line: signature: Assertion `condition' failed." to standard error and
/// aborts. `file` may carry a path; only its last component is printed.
[[noreturn]] void failAssertion(const char* signature, const char* condition, const char* file,
                                int line);

/// Stops the process through failAssertion() unless `holds`. The texts are given, not made by the
/// compiler, because compilers spell the same signature in different ways. `file` and `line` are
/// those of the caller and are never passed.
inline void assertThat(bool holds, const char* signature, const char* condition,
                       const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
  if (!holds) failAssertion(signature, condition, file, line);
}

#endif
