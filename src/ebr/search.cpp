// Both searches look at 64 bit positions of the stream at a time. Shifting a 64-bit word left by k
// (with the next word's bits coming in from the right) puts bit i + k of the stream under bit i, so
// that ANDing one shifted copy per pattern bit, inverted where the pattern has a 0, leaves a 1 at
// exactly those positions i where the pattern begins:
//
//   stream            0 1 1 0 1 1 1 0
//   pattern bit 0: 1  0 1 1 0 1 1 1 0     shifted by 0
//   pattern bit 1: 1  1 1 0 1 1 1 0 .     shifted by 1
//   pattern bit 2: 0  0 1 0 0 0 1 . .     shifted by 2, inverted
//   AND               0 1 0 0 0 1 . .     "110" begins at 1 and at 5
//
// The search for sections, which has to pass over whole devices, first asks of larger blocks
// whether a section can begin in them at all.
#include "ebr/search.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <string_view>

#include "ebr/format.h"
#include "steps/ramgraftutil.h"

namespace {

constexpr std::uint64_t WORD = 64;

// The bits from position k on of the 128 bits `word`, `next`; k is below 64.
constexpr std::uint64_t shifted(std::uint64_t word, std::uint64_t next, unsigned k) {
  return word << k | next >> 1 >> (WORD - 1 - k);
}

// Calls `candidates(word, next)` for the words of the stream that hold the positions [from, end)
// and returns the first candidate position for which `confirm` holds, or NOT_FOUND.
template <typename Candidates, typename Confirm>
std::uint64_t scanWords(const Bitstream& bitstream, std::uint64_t from, std::uint64_t end,
                        Candidates candidates, Confirm confirm) {
  if (from >= end) return NOT_FOUND;
  std::uint64_t position = from / WORD * WORD;
  std::uint64_t mask = UINT64_MAX >> from % WORD;  // the first word's positions before `from`
  const unsigned char* bytes = bitstream.getBytes();
  const std::uint64_t numWords = bitstream.getNumBits() / WORD;
  const auto load = [&](std::uint64_t index) {
    if (index < numWords) return loadBigEndian64(bytes + index * 8);
    return bitstream.getWindow(std::min(index * WORD, bitstream.getNumBits()));
  };
  std::uint64_t next = load(position / WORD);
  for (; position < end; position += WORD) {
    const std::uint64_t word = next;
    next = load(position / WORD + 1);
    std::uint64_t starts = candidates(word, next) & mask;
    mask = UINT64_MAX;
    while (starts != 0) {
      const auto first = static_cast<unsigned>(std::countl_zero(starts));
      if (position + first >= end) return NOT_FOUND;
      if (confirm(position + first)) return position + first;
      starts &= ~(UINT64_C(1) << (WORD - 1 - first));
    }
  }
  return NOT_FOUND;
}

// Positions of the address opcode. A byte-wide constant pattern, so that the compiler unrolls it.
std::uint64_t opcodeStarts(std::uint64_t word, std::uint64_t next) {
  std::uint64_t starts = UINT64_MAX;
  for (unsigned k = 0; k < EBR_ADDRESS_OPCODE_BITS; ++k) {
    const std::uint64_t bits = shifted(word, next, k);
    starts &= EBR_ADDRESS_OPCODE[k] == '1' ? bits : ~bits;
  }
  return starts;
}

// Sixteen bytes, which GCC and Clang turn into the vector instructions of any processor.
using Vector = unsigned char __attribute__((vector_size(16)));
constexpr std::uint64_t BLOCK_BYTES = 4 * sizeof(Vector);
// Bytes from a block's first one on that blockMayBeginSection() reads.
constexpr std::uint64_t BLOCK_READ_BYTES = BLOCK_BYTES + 4;

// Whether an address section may begin in one of the BLOCK_BYTES bytes; rarely wrong. Passing over
// data by blocks takes a seventh of the time of a search for the opcode in every word
// (BM_findAddressSection, BM_findPattern). Wherever in a byte the opcode begins, it ends in that
// byte or the next, and the three bytes behind these two are zero. One of the two is compared as
// well, without the bits in front of the opcode (dots):
//
//   11110110 00000000   F6         ....1111 01100000   60
//   .1111011 00000000   7B         .....111 10110000   B0
//   ..111101 10000000   3D         ......11 11011000   D8
//   ...11110 11000000   C0         .......1 11101100   EC
bool blockMayBeginSection(const unsigned char* bytes) {
  static_assert(std::string_view(EBR_ADDRESS_OPCODE) == "11110110" && ADDRESS_ZERO_BITS >= 32);
  Vector candidates = {};
  for (std::size_t begin = 0; begin < BLOCK_BYTES; begin += sizeof(Vector)) {
    std::array<Vector, 5> from;  // the bytes, and their neighbours one to four places on
    for (std::size_t i = 0; i < from.size(); ++i) {
      std::memcpy(&from[i], bytes + begin + i, sizeof(Vector));
    }
    const auto [first, second, third, fourth, fifth] = from;
    const auto is = [](unsigned char value, Vector bytes16) {
      return static_cast<Vector>(bytes16 == value);
    };
    candidates |=
        is(0, third | fourth | fifth) &
        (is(0xF6, first) | is(0x7B, first & 0x7F) | is(0x3D, first & 0x3F) | is(0xC0, second) |
         is(0x60, second) | is(0xB0, second) | is(0xD8, second) | is(0xEC, second));
  }
  std::array<std::uint64_t, 2> halves;
  std::memcpy(halves.data(), &candidates, sizeof candidates);
  return (halves[0] | halves[1]) != 0;
}

// The first of the blocks from byte `index` on that may begin a section, or is too near to the
// stream's end to tell, or begins at or behind byte `end`.
std::uint64_t passBlocks(const Bitstream& bitstream, std::uint64_t index, std::uint64_t end) {
  const unsigned char* const bytes = bitstream.getBytes();
  const std::uint64_t numBytes = bitstream.getNumBytes();
  while (index < end && numBytes - index >= BLOCK_READ_BYTES &&
         !blockMayBeginSection(bytes + index)) {
    index += BLOCK_BYTES;
  }
  return index;
}

}  // namespace

std::uint64_t findPattern(const Bitstream& bitstream, const std::string& pattern,
                          std::uint64_t from) {
  const std::uint64_t numBits = bitstream.getNumBits();
  if (pattern.size() > numBits) return NOT_FOUND;
  // The word-wise scan takes as much of the pattern as fits a word and is proper digits; what is
  // left is compared bit by bit.
  const std::size_t numDigits = std::min(pattern.find_first_not_of("01"), pattern.size());
  const std::string_view key = std::string_view(pattern).substr(0, std::min(numDigits, WORD));
  const auto keyStarts = [key](std::uint64_t word, std::uint64_t next) {
    std::uint64_t starts = UINT64_MAX;
    for (unsigned k = 0; k < key.size() && starts != 0; ++k) {
      const std::uint64_t bits = shifted(word, next, k);
      starts &= key[k] == '1' ? bits : ~bits;
    }
    return starts;
  };
  const auto restMatches = [&](std::uint64_t position) {
    for (std::size_t k = key.size(); k < pattern.size(); ++k) {
      if (!digitMatches(pattern[k], bitstream.getBit(position + k))) return false;
    }
    return true;
  };
  return scanWords(bitstream, from, numBits - pattern.size() + 1, keyStarts, restMatches);
}

std::uint64_t findAddressSection(const Bitstream& bitstream, std::uint64_t from,
                                 std::uint64_t end) {
  const std::uint64_t numBits = bitstream.getNumBits();
  if (numBits <= EBR_ADDRESS_OPCODE_BITS) return NOT_FOUND;
  const auto zerosFollow = [&](std::uint64_t position) {
    const std::uint64_t behind = bitstream.getWindow(position + EBR_ADDRESS_OPCODE_BITS);
    return behind >> (WORD - ADDRESS_ZERO_BITS) == 0;
  };
  end = std::min(end, numBits - EBR_ADDRESS_OPCODE_BITS);
  while (from < end) {
    const std::uint64_t begin = passBlocks(bitstream, from / 8, (end + 7) / 8);
    from = std::max(from, begin * 8);
    const std::uint64_t blockEnd = std::min(end, (begin + BLOCK_BYTES) * 8);
    const std::uint64_t section = scanWords(bitstream, from, blockEnd, opcodeStarts, zerosFollow);
    if (section != NOT_FOUND) return section;
    from = std::max(from, blockEnd);
  }
  return NOT_FOUND;
}
