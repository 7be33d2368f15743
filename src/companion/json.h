// JSON as the companions print it: one object on one line, piece by piece, because its lists may
// be longer than what they describe. Its first member is "version", the last one "warnings".
#ifndef RAMGRAFT_COMPANION_JSON_H
#define RAMGRAFT_COMPANION_JSON_H

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "companion/output.h"

using Json = nlohmann::ordered_json;

/// One object whose members may be lists. Members come out in the order in which they are added.
class JsonObject {
 public:
  explicit JsonObject(StandardOutput& to);

  void add(const std::string& key, const Json& value);
  /// Begins a list; until endList() only its elements may be added.
  void beginList(const std::string& key);
  void addElement(const Json& value);
  /// Begins an element that is an object itself; until endElement() members are added to it.
  void beginElement();
  void endElement();
  void endList();
  /// Adds the warnings, and ends the object and its line.
  void end(const std::vector<std::string>& warnings);

 private:
  void separate();

  StandardOutput& output;
  bool isFirst = true;
};

/// Prints the object of a failure, {"version": 1, "error": reason}, on standard output.
void printFailure(const std::string& reason);

#endif
