#include "companion/json.h"

namespace {

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

void JsonObject::endList() {
  output.write("]");
  isFirst = false;
}

void JsonObject::end() { output.write("}\n"); }

ExitStatus refuse(const std::string& reason, bool isJson) {
  if (isJson) {
    StandardOutput output;
    JsonObject object(output);
    object.add("version", 1);
    object.add("error", reason);
    object.end();
    static_cast<void>(output.finish(ExitStatus::FAILED));
  }
  return refuse(reason);
}
