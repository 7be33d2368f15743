#include "reports/position.h"

std::string positionText(const std::string& file, std::uint64_t line, std::uint64_t column) {
  std::string text = file;
  if (line != 0) text += ", line " + std::to_string(line);
  if (column != 0) text += ", column " + std::to_string(column);
  return text + ": ";
}
