// ReportPage: the page of `report`. Its script shows what it reads from a JSON object in the page.
#ifndef RAMGRAFT_INSPECT_REPORTPAGE_H
#define RAMGRAFT_INSPECT_REPORTPAGE_H

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "companion/json.h"

/// The page but its data; made from the files in report/ when the program is built.
extern const std::string_view PAGE_BEFORE_DATA, PAGE_AFTER_DATA;

/// The page under construction. It is at most 64 KB longer than three times the contents that it
/// shows, so what would be too much beside small contents is left out.
class ReportPage {
 public:
  /// The lists of the object.
  enum List { MEMORIES, SECTIONS, OTHERS };

  /// The object begins with the members of `facts`, which are short.
  explicit ReportPage(const Json& facts);

  /// Adds an element with `contentsBytes` bytes of contents in it to a list. False if it is left
  /// out for want of room, and counted.
  bool add(List list, const Json& element, std::uint64_t contentsBytes = 0);
  /// The whole page. Nothing in it but the page's own elements has a '<'.
  std::string finish() const;

 private:
  struct Elements {
    std::string text;  ///< between the brackets
    std::uint64_t leftOut = 0;
  };

  std::string object;  ///< its first members
  std::array<Elements, 3> lists;
  std::int64_t roomBytes;  ///< by which the page may grow without contents
};

#endif
