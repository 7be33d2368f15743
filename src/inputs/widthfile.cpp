#include "inputs/widthfile.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace {

int toInt(std::string_view number) {
  return static_cast<int>(std::strtol(std::string(number).c_str(), nullptr, 10));
}

InputFault otherLengthFault(const std::string& file, std::uint64_t line, std::size_t wanted) {
  InputFault fault = faultInLine(InputFault::Kind::OTHER_LENGTH, file, {"", line});
  fault.wanted = static_cast<std::int64_t>(wanted);
  return fault;
}

}  // namespace

std::uint64_t Widths::addressedWords() const {
  return address < 0 ? 0 : UINT64_C(1) << std::min(address, 63);
}

InputFault readWidthFile(const std::string& fileName, std::vector<std::string>& wids,
                         std::vector<std::uint64_t>& lines, WidthLine& last) {
  LineReader reader(fileName, "");
  InputFault fault = faultOf(reader);
  if (fault.kind != InputFault::Kind::NONE) return fault;
  last.file = fileName;
  last.identity = identityOf(reader.getResult().status);
  last.fileKind = fileKindOf(reader.getBytes());
  std::uint64_t firstOtherLength = 0;  // line number of the first wid that isn't like the first
  for (TextLine line; reader.next(line);) {
    // Only now that another line follows is the one before known to be a wid.
    if (firstOtherLength == 0 && !wids.empty() && wids.back().size() != wids.front().size()) {
      firstOtherLength = last.number;
    }
    wids.emplace_back(line.text);
    lines.push_back(line.number);
    last.number = line.number;
  }
  if (wids.empty()) {
    fault.kind = InputFault::Kind::NO_LINES;
    return fault;
  }
  last.text = std::move(wids.back());
  wids.pop_back();
  lines.pop_back();
  if (wids.empty()) fault.kind = InputFault::Kind::NO_WID;
  if (firstOtherLength != 0)
    return otherLengthFault(fileName, firstOtherLength, wids.front().size());
  return fault;
}

InputFault checkWids(const std::vector<std::string>& wids, const std::string& name) {
  if (wids.empty()) return faultInLine(InputFault::Kind::NO_WID, name, {});
  const std::size_t wanted = wids.front().size();
  const auto other = std::find_if(
      wids.begin(), wids.end(), [wanted](const std::string& wid) { return wid.size() != wanted; });
  if (other == wids.end()) return {};
  return otherLengthFault(name, static_cast<std::uint64_t>(other - wids.begin()) + 1, wanted);
}

InputFault::Kind parseWidthLine(const std::string& line, Widths& widths) {
  constexpr std::size_t NONE = std::string::npos;
  constexpr std::size_t KEY_LENGTH = 2;
  const std::size_t addrKey = line.find("aw");
  const std::size_t dataKey = line.find("dw");
  const std::size_t semicolon = line.find(';');
  if (addrKey == NONE || dataKey == NONE || semicolon == NONE) return InputFault::Kind::NO_WIDTHS;
  const std::size_t addrStart = addrKey + KEY_LENGTH;
  const std::size_t dataStart = dataKey + KEY_LENGTH;
  if (addrStart >= line.size() || addrStart > dataStart) return InputFault::Kind::MALFORMED_WIDTHS;
  const std::string_view text = line;
  // A semicolon before the number ends nothing.
  const std::size_t addrLength = semicolon < addrStart ? NONE : semicolon - addrStart;
  widths = {toInt(text.substr(addrStart, addrLength)), toInt(text.substr(dataStart))};
  return InputFault::Kind::NONE;
}

void removePrefixes(std::vector<std::string>& wids) {
  for (std::string& wid : wids) {
    if (wid.find("0b") != std::string::npos) wid.erase(0, 2);
  }
}

std::string spellWidthFile(const std::vector<std::string>& wids, const Widths& widths) {
  std::string text;
  for (const std::string& wid : wids) text += "0b" + wid + "\n";
  return text + "aw" + std::to_string(widths.address) + ";dw" + std::to_string(widths.data) + "\n";
}
