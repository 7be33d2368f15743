// What a companion says besides its result.
#ifndef RAMGRAFT_COMPANION_MESSAGES_H
#define RAMGRAFT_COMPANION_MESSAGES_H

#include <string>
#include <vector>

#include "companion/status.h"

/// How much a companion says besides warnings and errors.
enum class Detail { QUIET, USUAL, VERBOSE };

/// Prints errors, warnings and notes as lines on standard error. Where the result is a JSON object,
/// an error is one, too; the warnings are kept for it.
class Messages {
 public:
  explicit Messages(bool json, Detail wanted = Detail::USUAL) : isJson(json), detail(wanted) {}

  /// Prints why it can't be done, with --json also as the object {"version": 1, "error": reason} on
  /// standard output. Returns FAILED.
  ExitStatus refuse(const std::string& reason) const;
  /// Something that the user should look at.
  void warn(const std::string& sentence);
  /// Something that explains the result; not printed when quiet.
  void note(const std::string& sentence) const;
  /// The same, printed only when verbose.
  void remark(const std::string& sentence) const;

  const std::vector<std::string>& getWarnings() const { return warnings; }

 private:
  bool isJson;
  Detail detail;
  std::vector<std::string> warnings;
};

#endif
