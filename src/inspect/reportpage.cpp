#include "inspect/reportpage.h"

namespace {

constexpr std::array<std::string_view, 3> NAMES = {"memories", "sections", "others"};
constexpr std::int64_t MOST_BYTES = 64 << 10;
constexpr std::int64_t BYTES_OF_CONTENTS = 3;
constexpr std::int64_t FRAME_BYTES = 256;  // at most: names of the lists, and numbers left out

// A '<' could end the element that the data is in. Bytes of a name that aren't UTF-8 become
// replacement characters.
std::string spell(const Json& value) {
  std::string text;
  for (const char each : value.dump(-1, ' ', true, Json::error_handler_t::replace)) {
    each == '<' ? text += "\\u003c" : text += each;
  }
  return text;
}

std::int64_t sizeOf(std::string_view text) { return static_cast<std::int64_t>(text.size()); }

}  // namespace

ReportPage::ReportPage(const Json& facts) : object(spell(facts)) {
  object.back() = ',';  // more members follow
  roomBytes = MOST_BYTES - FRAME_BYTES - sizeOf(object) - sizeOf(PAGE_BEFORE_DATA) -
              sizeOf(PAGE_AFTER_DATA);
}

bool ReportPage::add(List list, const Json& element, std::uint64_t contentsBytes) {
  Elements& its = lists[list];
  const std::string text = spell(element) + ",";
  const std::int64_t left =
      roomBytes - sizeOf(text) + static_cast<std::int64_t>(contentsBytes) * BYTES_OF_CONTENTS;
  if (left < 0) {
    ++its.leftOut;
    return false;
  }
  roomBytes = left;
  its.text += text;
  return true;
}

std::string ReportPage::finish() const {
  std::string page(PAGE_BEFORE_DATA);
  page += object;
  Json leftOut = Json::object();
  for (std::size_t i = 0; i < lists.size(); ++i) {
    const std::string& text = lists[i].text;
    page.append("\"").append(NAMES[i]).append("\":[");
    page.append(text, 0, text.empty() ? 0 : text.size() - 1).append("],");
    leftOut[std::string(NAMES[i])] = lists[i].leftOut;
  }
  return page.append("\"leftOut\":").append(spell(leftOut)).append("}").append(PAGE_AFTER_DATA);
}
