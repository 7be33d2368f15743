// A lane's row of bits has the highest bit of each word first; an image has bytes in either order.
// Lanes of whole bytes are copied word by word, all others bit by bit.
#include "layout/deal.h"

#include <algorithm>

#include "base/reversal.h"
#include "ebr/columns.h"
#include "ebr/format.h"
#include "ebr/payload.h"

namespace {

bool hasWholeBytes(const Lane& lane) { return lane.firstBit % 8 == 0 && lane.bits % 8 == 0; }

// The words of a part in an image of the whole memory.
std::span<const unsigned char> wordsOf(const Memory& memory, const Part& part,
                                       std::span<const unsigned char> image) {
  return image.subspan(part.firstWord * memory.wordBytes(), part.words * memory.wordBytes());
}

// Calls `copy(word, row)` for each word of a lane of whole bytes, in the order of the row: with the
// index of the first of the lane's bytes in the part's words and in the row. The bytes are adjacent
// in both; those of a little-endian word are in reverse order in the row.
template <typename Copy>
void forEachWord(const Memory& memory, const Part& part, const Lane& lane, const Copy& copy) {
  const bool isLittle = memory.order == std::endian::little;
  const std::uint64_t highest = lane.firstBit + lane.bits - 8;
  const std::uint64_t first = memory.byteOfBit(isLittle ? lane.firstBit : highest);
  for (std::uint64_t word = 0; word < part.words; ++word) {
    copy(word * memory.wordBytes() + first, word * (lane.bits / 8));
  }
}

// Copies adjacent bytes, in reverse order if the memory's words are little-endian.
void copyBytes(const Memory& memory, const unsigned char* from, std::uint64_t count,
               unsigned char* to) {
  if (memory.order == std::endian::little) {
    std::reverse_copy(from, from + count, to);
  } else {
    std::copy_n(from, count, to);
  }
}

void reverseBits(std::span<unsigned char> bytes) {
  for (unsigned char& byte : bytes) byte = reverseByteBits(byte);
}

// Calls `copy(byte, place, row)` for each bit of any lane: with the index of a byte in the part's
// words, the bit's place in it, and the bit's index in the row.
template <typename Copy>
void forEachBit(const Memory& memory, const Part& part, const Lane& lane, const Copy& copy) {
  std::uint64_t row = 0;
  for (std::uint64_t word = 0; word < part.words; ++word) {
    for (std::uint64_t bit = lane.firstBit + lane.bits; bit-- > lane.firstBit;) {
      copy(word * memory.wordBytes() + memory.byteOfBit(bit), bit % 8, row++);
    }
  }
}

// Turns a bit on if `value` is 1.
void turnOn(unsigned char& byte, std::uint64_t place, unsigned value) {
  byte = static_cast<unsigned char>(byte | value << place);
}

MemoryWords zeroWords(const Part& part, const Lane& lane) {
  MemoryWords words(lane.wids.size(), lane.bitsPerEbr);
  words.appendZeros((part.words * lane.bits + 7) / 8);
  return words;
}

MemoryWords readLane(const Bitstream& bitstream, const Part& part, const Lane& lane,
                     const Placement& placement) {
  MemoryWords words = zeroWords(part, lane);
  const auto commands = placement.getCommands(lane);
  std::vector<unsigned char> contents;
  for (std::size_t ebr = 0; ebr < commands.size(); ++ebr) {
    const std::uint64_t held = commands[ebr].frameCount * FRAME_PAYLOAD_WORDS;
    const std::uint64_t needed = (words.getColumnBits(ebr) + 63) / 64 * 8;  // whole frames
    contents.assign(needed, 0);
    readPayload(bitstream, commands[ebr].payloadIndex,
                std::span(contents).first(std::min(held, needed)));
    putColumn(words, ebr, contents);
  }
  return words;
}

}  // namespace

MemoryWords dealLane(const Memory& memory, const Part& part, const Lane& lane,
                     std::span<const unsigned char> image) {
  MemoryWords words = zeroWords(part, lane);
  const std::span<unsigned char> row = words.getBytes();
  const std::span<const unsigned char> from = wordsOf(memory, part, image);
  if (hasWholeBytes(lane)) {
    forEachWord(memory, part, lane, [&](std::uint64_t word, std::uint64_t rowByte) {
      copyBytes(memory, &from[word], lane.bits / 8, &row[rowByte]);
    });
    reverseBits(row);
    return words;
  }
  const auto copy = [&](std::uint64_t byte, std::uint64_t place, std::uint64_t rowBit) {
    turnOn(row[rowBit / 8], rowBit % 8, from[byte] >> place & 1U);
  };
  forEachBit(memory, part, lane, copy);
  return words;
}

std::vector<unsigned char> readPart(const Bitstream& bitstream, const Memory& memory,
                                    const Part& part, const Placement& placement) {
  std::vector<unsigned char> bytes(part.words * memory.wordBytes());
  for (const Lane& lane : part.lanes) {
    MemoryWords words = readLane(bitstream, part, lane, placement);
    const std::span<unsigned char> row = words.getBytes();
    if (hasWholeBytes(lane)) {
      reverseBits(row);
      forEachWord(memory, part, lane, [&](std::uint64_t word, std::uint64_t rowByte) {
        copyBytes(memory, &row[rowByte], lane.bits / 8, &bytes[word]);
      });
      continue;
    }
    const auto copy = [&](std::uint64_t byte, std::uint64_t place, std::uint64_t rowBit) {
      turnOn(bytes[byte], place, row[rowBit / 8] >> rowBit % 8 & 1U);
    };
    forEachBit(memory, part, lane, copy);
  }
  return bytes;
}
