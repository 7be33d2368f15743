// Both searches look at the stream 64 bit positions at a time. Shifting a 64-bit word left by k
// (with the next word's bits coming in from the right) puts bit i + k of the stream under bit i, so
// that ANDing one shifted copy per pattern bit, inverted where the pattern has a 0, leaves a 1 at
// exactly those positions i where the pattern begins:
//
//   stream            0 1 1 0 1 1 1 0
//   pattern bit 0: 1  0 1 1 0 1 1 1 0     shifted by 0
//   pattern bit 1: 1  1 1 0 1 1 1 0 .     shifted by 1
//   pattern bit 2: 0  0 1 0 0 0 1 . .     shifted by 2, inverted
//   AND               0 1 0 0 0 1 . .     "110" begins at 1 and at 5
#include "ramgraftsearch.h"

#include <algorithm>
#include <bit>
#include <string_view>

#include "ramgraftformat.h"
#include "ramgraftutil.h"

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

// Whether one of the word's four 16-bit parts is all zero. (A borrow can only come out of a part
// that is itself zero, so the answer for the word as a whole is exact.)
constexpr bool hasZeroPart(std::uint64_t word) {
  constexpr std::uint64_t LOW_BITS = 0x0001000100010001;
  constexpr std::uint64_t HIGH_BITS = 0x8000800080008000;
  return ((word - LOW_BITS) & ~word & HIGH_BITS) != 0;
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
  // The opcode's last 0 and the zero bits behind it always cover one aligned, all-zero 16-bit part
  // of this word or the next. Asking for that first passes over dense data five times as fast, and
  // an all-zero word, frequent in sparse data, holds no opcode at all.
  const auto starts = [](std::uint64_t word, std::uint64_t next) {
    if (word == 0 || !(hasZeroPart(word) || hasZeroPart(next))) return UINT64_C(0);
    return opcodeStarts(word, next);
  };
  const auto zerosFollow = [&](std::uint64_t position) {
    const std::uint64_t behind = bitstream.getWindow(position + EBR_ADDRESS_OPCODE_BITS);
    return behind >> (WORD - ADDRESS_ZERO_BITS) == 0;
  };
  return scanWords(bitstream, from, std::min(end, numBits - EBR_ADDRESS_OPCODE_BITS), starts,
                   zerosFollow);
}
