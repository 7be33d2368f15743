#include "load/depfile.h"

#include <algorithm>

namespace {

// Escapes a name as compilers do in the rules that they write.
std::string escape(const std::string& name) {
  std::string text;
  std::size_t backslashes = 0;  // right before this character
  for (const char character : name) {
    if (character == ' ' || character == '\t' || character == '#') {
      text.append(backslashes + 1, '\\');  // those before must not escape the new one
    } else if (character == '$') {
      text += '$';
    }
    text += character;
    backslashes = character == '\\' ? backslashes + 1 : 0;
  }
  return text;
}

}  // namespace

std::string spellRule(const std::string& output, const std::vector<std::string>& inputs) {
  const auto isBad = [](const std::string& name) {
    return name.find_first_of("\n\r;=|") != std::string::npos || name.ends_with('\\');
  };
  if (isBad(output) || std::ranges::any_of(inputs, isBad)) return "";
  std::string rule = escape(output) + ":";
  for (const std::string& input : inputs) rule += " \\\n  " + escape(input);
  return rule + "\n";
}
