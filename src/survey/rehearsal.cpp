#include "survey/rehearsal.h"

#include <algorithm>
#include <array>
#include <map>
#include <span>
#include <utility>
#include <vector>

#include "ebr/graft.h"

namespace {

// The bits in which a stream differs from what it was. Keeps pages of what has changed, not a copy
// of the stream.
class ChangedBits {
 public:
  // Adds the bits in which the stream's bytes from `begin` on are no longer as they were `before`.
  // Bits that change back are as if they had never changed.
  void note(const Bitstream& bitstream, std::uint64_t begin,
            std::span<const unsigned char> before) {
    const unsigned char* now = bitstream.getBytes() + begin;
    while (!before.empty()) {
      const auto size = std::min<std::size_t>(before.size(), PAGE_BYTES - begin % PAGE_BYTES);
      if (!std::equal(now, now + size, before.begin())) {
        unsigned char* const page = pages[begin / PAGE_BYTES].data() + begin % PAGE_BYTES;
        for (std::size_t i = 0; i < size; ++i) {
          page[i] = static_cast<unsigned char>(page[i] ^ before[i] ^ now[i]);
        }
      }
      begin += size;
      now += size;
      before = before.subspan(size);
    }
  }

  bool isAny() const {
    return std::ranges::any_of(pages, [](const auto& page) {
      return std::ranges::any_of(page.second, [](unsigned char bits) { return bits != 0; });
    });
  }

 private:
  static constexpr std::uint64_t PAGE_BYTES = 1024;

  std::map<std::uint64_t, std::array<unsigned char, PAGE_BYTES>> pages;
};

// The bytes that an edit of one EBR touches: those of the payload words written, and of the CRC.
class TouchedBytes {
 public:
  TouchedBytes(const Bitstream& stream, const EbrCommand& command, std::uint64_t numWords)
      : bitstream(stream) {
    const std::uint64_t payloadEnd = command.payloadIndex + numWords * PAYLOAD_WORD_BITS;
    payloadBegin = command.payloadIndex / 8;
    copy(payloadBegin, payloadEnd, payload);
    crcBegin = std::max(command.crcIndex() / 8, payloadBegin + payload.size());
    copy(crcBegin, command.crcIndex() + CRC_BITS, crc);
  }

  void noteChanges(ChangedBits& changes) const {
    changes.note(bitstream, payloadBegin, payload);
    changes.note(bitstream, crcBegin, crc);
  }

 private:
  // Copies the bytes from `begin` on that contain a bit before bit `endBit`.
  void copy(std::uint64_t begin, std::uint64_t endBit, std::vector<unsigned char>& to) const {
    const unsigned char* const bytes = bitstream.getBytes();
    to.assign(bytes + begin, bytes + (endBit + 7) / 8);
  }

  const Bitstream& bitstream;
  std::uint64_t payloadBegin = 0, crcBegin = 0;  // byte indexes
  std::vector<unsigned char> payload, crc;
};

}  // namespace

Rehearsal rehearse(const MemoryInputs& inputs, Bitstream& bitstream) {
  const MemoryWords& words = *inputs.words;
  ChangedBits changes;
  std::optional<TouchedBytes> before;
  const auto remember = [&](std::size_t ebr, const Lookup& lookup) {
    if (!lookup.isUsable()) return;
    before.emplace(bitstream, lookup.command,
                   writableWords(lookup.command.frameCount, words.getColumnBits(ebr)));
  };
  const auto compare = [&](std::size_t, const GraftReport&) { before->noteChanges(changes); };
  std::optional<Lookup> failed = graftEbrs(bitstream, inputs.wids, words, {remember, compare});
  return {std::move(failed), changes.isAny()};
}
