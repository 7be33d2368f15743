// Columns and EBRs are sorted together into groups that begin alike, a frame deeper at a time, and
// groups without either are dropped. So each frame is looked at once, however alike the contents
// are; almost always the first frame tells everything apart.
#include "inspect/matching.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>

#include "base/bits.h"
#include "ebr/columns.h"
#include "ebr/format.h"
#include "ebr/payload.h"
#include "inspect/contents.h"

namespace {

constexpr std::uint64_t FRAME_CONTENT_BITS = 8 * FRAME_PAYLOAD_WORDS;

// A column or an EBR by its number, and its data bits in the frame that is looked at.
struct Item {
  std::uint64_t bits = 0;
  std::size_t number = 0;

  friend bool operator<(const Item& a, const Item& b) { return a.bits < b.bits; }
};

using Items = std::span<Item>;

// Columns and EBRs whose data bits are the same in all frames before `frame`.
struct Group {
  Items columns, ebrs;
  std::uint64_t frame = 0;
};

class Matcher {
 public:
  // All columns must have the same length, as those of whole words do.
  Matcher(const Bitstream& stream, const std::vector<EbrCommand>& commands,
          const MemoryWords& memoryWords)
      : bitstream(stream),
        ebrs(commands),
        words(memoryWords),
        columnBits(words.getLongestColumnBits()),
        numFrames((columnBits + FRAME_CONTENT_BITS - 1) / FRAME_CONTENT_BITS) {}

  std::vector<ColumnMatch> match() {
    std::vector<Item> columnItems(words.getNumEbrs()), ebrItems;
    for (std::size_t i = 0; i < columnItems.size(); ++i) columnItems[i].number = i;
    for (std::size_t i = 0; i < ebrs.size(); ++i) {
      if (contentsBytes(ebrs[i]) * 8 >= columnBits) ebrItems.push_back({0, i});
    }
    if (!ebrItems.empty()) groups.push_back({columnItems, ebrItems, 0});
    while (!groups.empty()) {
      const Group group = groups.back();
      groups.pop_back();
      if (group.frame == numFrames) {
        addMatch(group);
      } else {
        split(group);
      }
    }
    return std::move(matches);
  }

 private:
  // Data bits after the column's end don't count.
  std::uint64_t maskOf(std::uint64_t frame) const {
    const std::uint64_t bits =
        std::min(columnBits - frame * FRAME_CONTENT_BITS, FRAME_CONTENT_BITS);
    return UINT64_MAX >> (FRAME_CONTENT_BITS - bits);
  }

  std::uint64_t ebrFrame(std::size_t ebr, std::uint64_t frame) const {
    std::array<unsigned char, FRAME_PAYLOAD_WORDS> contents;
    readPayload(bitstream, ebrs[ebr].payloadIndex + frame * FRAME_BITS, contents);
    return loadLittleEndian64(contents.data());
  }

  // Looks at one more frame of each item and puts the groups that agree in it on the list.
  void split(const Group& group) {
    const std::uint64_t mask = maskOf(group.frame);
    for (Item& item : group.columns) item.bits = columnFrame(words, item.number, group.frame);
    for (Item& item : group.ebrs) item.bits = ebrFrame(item.number, group.frame) & mask;
    std::ranges::sort(group.columns, {}, &Item::bits);
    std::ranges::sort(group.ebrs, {}, &Item::bits);
    for (Items columns = group.columns; !columns.empty();) {
      const auto [begin, end] = std::equal_range(columns.begin(), columns.end(), columns.front());
      const auto [first, last] =
          std::equal_range(group.ebrs.begin(), group.ebrs.end(), columns.front());
      if (first != last) groups.push_back({{begin, end}, {first, last}, group.frame + 1});
      columns = columns.subspan(static_cast<std::size_t>(end - begin));
    }
  }

  void addMatch(const Group& group) {
    ColumnMatch match;
    for (const Item& item : group.columns) match.columns.push_back(item.number);
    for (const Item& item : group.ebrs) match.ebrs.push_back(item.number);
    std::ranges::sort(match.columns);
    std::ranges::sort(match.ebrs);
    matches.push_back(std::move(match));
  }

  const Bitstream& bitstream;
  const std::vector<EbrCommand>& ebrs;
  const MemoryWords& words;
  std::uint64_t columnBits, numFrames;
  std::vector<Group> groups;
  std::vector<ColumnMatch> matches;
};

}  // namespace

std::vector<ColumnMatch> matchColumns(const Bitstream& bitstream,
                                      const std::vector<EbrCommand>& ebrs,
                                      const MemoryWords& words) {
  return Matcher(bitstream, ebrs, words).match();
}
