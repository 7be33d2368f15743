// Where results go: standard output, or the file named after -o.
#ifndef RAMGRAFT_COMPANION_OUTPUT_H
#define RAMGRAFT_COMPANION_OUTPUT_H

#include <optional>
#include <string>
#include <string_view>

#include "companion/status.h"
#include "files/descriptor.h"

/// Standard output, written in large pieces. After a first failure nothing more is written.
class StandardOutput {
 public:
  void write(std::string_view text);
  /// Writes what is left. Returns `status`, or FAILED, with a sentence on standard error, if not
  /// everything could be written.
  ExitStatus finish(ExitStatus status);

 private:
  void flush();

  std::string pending;
  int error = 0;
};

/// Writes a whole result to the named file, which is replaced as a run replaces its output, or to
/// standard output. `input` is the file that it was made from. FINE, or FAILED with a sentence on
/// standard error.
ExitStatus putResult(const std::optional<std::string>& fileName, std::string_view text,
                     const FileIdentity& input);

#endif
