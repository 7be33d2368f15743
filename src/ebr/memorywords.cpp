#include "ebr/memorywords.h"

#include <algorithm>

#include "base/assertion.h"
#include "base/hexwords.h"
#include "base/reversal.h"

MemoryWords::MemoryWords(std::uint64_t ebrs, std::uint64_t bitsEach) { deal(ebrs, bitsEach); }

void MemoryWords::deal(std::uint64_t ebrs, std::uint64_t bitsEach) {
  assertThat(ebrs >= 1 && bitsEach >= 1, "void MemoryWords::deal(uint64_t, uint64_t)",
             "ebrs >= 1 && bitsEach >= 1");
  numEbrs = ebrs;
  bitsPerEbr = bitsEach;
}

void MemoryWords::reserve(std::uint64_t wordBytes) { bytes.reserve(wordBytes); }

// Appends `numBytes` bytes, whose contents are the caller's to set.
unsigned char* MemoryWords::grow(std::size_t numBytes) {
  const std::size_t end = bytes.size();
  bytes.resize(end + numBytes);
  return bytes.data() + end;
}

bool MemoryWords::appendWord(std::string_view word) {
  return readHexDigits(word, grow((word.size() + 1) / 2));
}

void MemoryWords::appendBytes(const std::vector<unsigned char>& wordBytes) {
  unsigned char* target = grow(wordBytes.size());
  for (const unsigned char byte : wordBytes) *target++ = reverseByteBits(byte);
}

void MemoryWords::appendZeros(std::size_t numBytes) { std::fill_n(grow(numBytes), numBytes, 0); }

std::uint64_t MemoryWords::getColumnBits(std::uint64_t ebr) const {
  const std::uint64_t numGroups = bytes.size() * 8 / bitsPerEbr;
  const std::uint64_t inLastRound = getTurn(ebr) < numGroups % numEbrs ? 1 : 0;
  return (numGroups / numEbrs + inLastRound) * bitsPerEbr;
}
