// What a load says while it works.
#ifndef RAMGRAFT_LOAD_MESSAGES_H
#define RAMGRAFT_LOAD_MESSAGES_H

#include <string>
#include <vector>

/// Prints warnings and notes on standard error, and keeps the warnings for the report.
class Messages {
 public:
  explicit Messages(bool quiet) : isQuiet(quiet) {}

  /// Something that the user should look at.
  void warn(const std::string& sentence);
  /// Something that explains the result; not printed when quiet.
  void note(const std::string& sentence) const;

  const std::vector<std::string>& getWarnings() const { return warnings; }

 private:
  bool isQuiet;
  std::vector<std::string> warnings;
};

#endif
