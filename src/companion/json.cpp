#include "companion/json.h"

namespace {

// Of all objects. Keys may be added to one; a larger number says that a key went or means another
// thing.
constexpr int VERSION = 1;

// A value with a blank after each comma and colon. Bytes of a file name that aren't UTF-8 become
// replacement characters.
std::string spell(const Json& value) {
  const std::string dense = value.dump(-1, ' ', false, Json::error_handler_t::replace);
  std::string text;
  text.reserve(dense.size() * 2);
  bool isInString = false;
  for (std::size_t i = 0; i < dense.size(); ++i) {
    text += dense[i];
    if (dense[i] == '"') isInString = !isInString;
    if (isInString && dense[i] == '\\') text += dense[++i];
    if (!isInString && (dense[i] == ',' || dense[i] == ':')) text += ' ';
  }
  return text;
}

}  // namespace

JsonObject::JsonObject(StandardOutput& to) : output(to) {
  output.write("{");
  add("version", VERSION);
}

void JsonObject::separate() {
  if (!isFirst) output.write(", ");
  isFirst = false;
}

void JsonObject::add(const std::string& key, const Json& value) {
  separate();
  output.write(spell(key) + ": " + spell(value));
}

void JsonObject::beginList(const std::string& key) {
  separate();
  output.write(spell(key) + ": [");
  isFirst = true;
}

void JsonObject::addElement(const Json& value) {
  separate();
  output.write(spell(value));
}

void JsonObject::beginElement() {
  separate();
  output.write("{");
  isFirst = true;
}

void JsonObject::endElement() {
  output.write("}");
  isFirst = false;
}

void JsonObject::endList() {
  output.write("]");
  isFirst = false;
}

void JsonObject::end(const std::vector<std::string>& warnings) {
  add("warnings", warnings);
  output.write("}\n");
}

void printFailure(const std::string& reason) {
  StandardOutput output;
  output.write(spell({{"version", VERSION}, {"error", reason}}) + "\n");
  static_cast<void>(output.finish(ExitStatus::FAILED));
}
