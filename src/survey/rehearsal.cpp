#include "survey/rehearsal.h"

#include <algorithm>
#include <map>
#include <span>
#include <utility>
#include <vector>

#include "ebr/graft.h"

namespace {

// The pages of a stream that are written to, as they were before. A copy of the whole stream would
// double the memory.
class OldPages {
 public:
  explicit OldPages(const Bitstream& stream) : bitstream(stream) {}

  // Keeps the pages with the bits [beginBit, endBit), but for those kept already: they may have
  // changed since.
  void keep(std::uint64_t beginBit, std::uint64_t endBit) {
    constexpr std::uint64_t PAGE_BYTES = 1024;
    for (std::uint64_t begin = beginBit / 8 / PAGE_BYTES * PAGE_BYTES; begin * 8 < endBit;
         begin += PAGE_BYTES) {
      const unsigned char* const from = bitstream.getBytes() + begin;
      const auto size = std::min(PAGE_BYTES, bitstream.getNumBytes() - begin);
      if (!pages.contains(begin)) pages.emplace(begin, std::vector(from, from + size));
    }
  }

  bool areChanged() const {
    return std::ranges::any_of(pages, [&](const auto& page) {
      return !std::ranges::equal(page.second,
                                 std::span(bitstream.getBytes() + page.first, page.second.size()));
    });
  }

 private:
  const Bitstream& bitstream;
  std::map<std::uint64_t, std::vector<unsigned char>> pages;  // by their first byte's index
};

}  // namespace

Rehearsal rehearse(const MemoryInputs& inputs, Bitstream& bitstream) {
  OldPages pages(bitstream);
  const auto keep = [&](std::size_t, const Lookup& lookup) {
    if (!lookup.isUsable()) return;
    pages.keep(lookup.command.payloadIndex, lookup.command.crcIndex() + CRC_BITS);
  };
  const auto ignore = [](std::size_t, const GraftReport&) {};
  std::optional<Lookup> failed =
      graftEbrs(bitstream, inputs.wids, *inputs.words,
                {keep, ignore, [](const HiddenCommand&) {}, [](std::uint64_t) {}});
  return {std::move(failed), pages.areChanged()};
}
