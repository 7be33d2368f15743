// Columns and EBRs are sorted together into groups that begin alike, a frame deeper at a time, and
// groups without either are dropped. So each frame is looked at once, however alike the contents
// are; almost always the first frame tells everything apart.
#include "survey/matching.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>

#include "base/bits.h"
#include "ebr/columns.h"
#include "ebr/format.h"
#include "ebr/payload.h"

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
struct Candidates {
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
      if (ebrs[i].contentsBytes() * 8 >= columnBits) ebrItems.push_back({0, i});
    }
    if (!ebrItems.empty()) pending.push_back({columnItems, ebrItems, 0});
    while (!pending.empty()) {
      const Candidates candidates = pending.back();
      pending.pop_back();
      if (candidates.frame == numFrames) {
        addMatch(candidates);
      } else {
        split(candidates);
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

  // Looks at one more frame of each item and puts those that agree in it on the list.
  void split(const Candidates& candidates) {
    const std::uint64_t mask = maskOf(candidates.frame);
    for (Item& item : candidates.columns)
      item.bits = frameDataBits(words, item.number, candidates.frame);
    for (Item& item : candidates.ebrs) item.bits = ebrFrame(item.number, candidates.frame) & mask;
    std::ranges::sort(candidates.columns, {}, &Item::bits);
    std::ranges::sort(candidates.ebrs, {}, &Item::bits);
    for (Items columns = candidates.columns; !columns.empty();) {
      const auto [begin, end] = std::equal_range(columns.begin(), columns.end(), columns.front());
      const auto [first, last] =
          std::equal_range(candidates.ebrs.begin(), candidates.ebrs.end(), columns.front());
      if (first != last) pending.push_back({{begin, end}, {first, last}, candidates.frame + 1});
      columns = columns.subspan(static_cast<std::size_t>(end - begin));
    }
  }

  void addMatch(const Candidates& candidates) {
    ColumnMatch match;
    for (const Item& item : candidates.columns) match.columns.push_back(item.number);
    for (const Item& item : candidates.ebrs) match.ebrs.push_back(item.number);
    std::ranges::sort(match.columns);
    std::ranges::sort(match.ebrs);
    matches.push_back(std::move(match));
  }

  const Bitstream& bitstream;
  const std::vector<EbrCommand>& ebrs;
  const MemoryWords& words;
  std::uint64_t columnBits, numFrames;
  std::vector<Candidates> pending;
  std::vector<ColumnMatch> matches;
};

}  // namespace

std::vector<ColumnMatch> matchColumns(const Bitstream& bitstream,
                                      const std::vector<EbrCommand>& ebrs,
                                      const MemoryWords& words) {
  return Matcher(bitstream, ebrs, words).match();
}
