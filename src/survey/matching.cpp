// Columns and EBRs are sorted together into groups that begin alike, a frame deeper at a time, and
// groups without either are dropped. So each frame is looked at once, however alike the contents
// are; almost always the first frame distinguishes everything.
#include "survey/matching.h"

#include <algorithm>
#include <array>
#include <bit>
#include <span>
#include <utility>

#include "base/bits.h"
#include "ebr/columns.h"
#include "ebr/format.h"
#include "ebr/graft.h"
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

std::uint64_t framesOf(const ColumnBits& bits) {
  return (bits.count + FRAME_CONTENT_BITS - 1) / FRAME_CONTENT_BITS;
}

// The 64 data bits of frame number `frame` of an EBR.
std::uint64_t ebrFrame(const Bitstream& bitstream, const EbrCommand& ebr, std::uint64_t frame) {
  std::array<unsigned char, FRAME_PAYLOAD_WORDS> contents;
  readPayload(bitstream, ebr.payloadIndex + frame * FRAME_BITS, contents);
  return loadLittleEndian64(contents.data());
}

// Those of a frame that belong to `bits`, as 1.
std::uint64_t maskOf(const ColumnBits& bits, std::uint64_t frame) {
  const std::uint64_t count = std::min(bits.count - frame * FRAME_CONTENT_BITS, FRAME_CONTENT_BITS);
  return UINT64_MAX >> (FRAME_CONTENT_BITS - count);
}

class Matcher {
 public:
  Matcher(const Bitstream& stream, const std::vector<EbrCommand>& commands,
          const MemoryWords& memoryWords, const ColumnBits& columnBits)
      : bitstream(stream), ebrs(commands), words(memoryWords), bits(columnBits) {}

  std::vector<ColumnMatch> match() {
    std::vector<Item> columnItems(words.getNumEbrs()), ebrItems;
    for (std::size_t i = 0; i < columnItems.size(); ++i) columnItems[i].number = i;
    for (std::size_t i = 0; i < ebrs.size(); ++i) {
      if (roomOf(ebrs[i]) >= bits.count) ebrItems.push_back({0, i});
    }
    if (!ebrItems.empty()) pending.push_back({columnItems, ebrItems, 0});
    while (!pending.empty()) {
      const Candidates candidates = pending.back();
      pending.pop_back();
      if (candidates.frame == framesOf(bits)) {
        addMatch(candidates);
      } else {
        split(candidates);
      }
    }
    return std::move(matches);
  }

 private:
  // Looks at one more frame of each item and puts those that agree in it on the list.
  void split(const Candidates& candidates) {
    const std::uint64_t mask = maskOf(bits, candidates.frame);
    const std::uint64_t begin = bits.first + candidates.frame * FRAME_CONTENT_BITS;
    for (Item& item : candidates.columns) {
      item.bits = columnBitsFrom(begin, words, item.number) & mask;
    }
    for (Item& item : candidates.ebrs) {
      item.bits = ebrFrame(bitstream, ebrs[item.number], candidates.frame) & mask;
    }
    std::ranges::sort(candidates.columns, {}, &Item::bits);
    std::ranges::sort(candidates.ebrs, {}, &Item::bits);
    for (Items columns = candidates.columns; !columns.empty();) {
      const auto [same, end] = std::equal_range(columns.begin(), columns.end(), columns.front());
      const auto [first, last] =
          std::equal_range(candidates.ebrs.begin(), candidates.ebrs.end(), columns.front());
      if (first != last) pending.push_back({{same, end}, {first, last}, candidates.frame + 1});
      columns = columns.subspan(static_cast<std::size_t>(end - same));
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
  const ColumnBits& bits;
  std::vector<Candidates> pending;
  std::vector<ColumnMatch> matches;
};

}  // namespace

std::uint64_t roomOf(const EbrCommand& ebr) { return writableWords(ebr.frameCount, 0) * 8; }

std::vector<ColumnMatch> matchColumns(const Bitstream& bitstream,
                                      const std::vector<EbrCommand>& ebrs, const MemoryWords& words,
                                      const ColumnBits& bits) {
  return Matcher(bitstream, ebrs, words, bits).match();
}

std::uint64_t countEqualBits(const Bitstream& bitstream, const EbrCommand& ebr,
                             const MemoryWords& words, std::uint64_t column,
                             const ColumnBits& bits) {
  const ColumnBits compared = {bits.first, std::min(bits.count, roomOf(ebr))};
  for (std::uint64_t frame = 0; frame < framesOf(compared); ++frame) {
    const std::uint64_t at = frame * FRAME_CONTENT_BITS;
    const std::uint64_t different =
        (columnBitsFrom(bits.first + at, words, column) ^ ebrFrame(bitstream, ebr, frame)) &
        maskOf(compared, frame);
    if (different != 0) return at + static_cast<std::uint64_t>(std::countr_zero(different));
  }
  return compared.count;
}
