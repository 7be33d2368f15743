#include "steps/ramgrafttraverse.h"

#include <algorithm>
#include <cstddef>

#include "base/assertion.h"
#include "ebr/search.h"
#include "steps/ramgraftutil.h"

BitstreamTraverser::BitstreamTraverser(Bitstream* bitstream) : bs(bitstream) {
  assertThat(bitstream != nullptr, "BitstreamTraverser::BitstreamTraverser(Bitstream*)",
             "bitstream");
}

void BitstreamTraverser::setBitIndex(unsigned long index) {
  assertThat(index < bs->getNumBits(), "void BitstreamTraverser::setBitIndex(long unsigned int)",
             "index >= 0 && index < bs->getNumBits()");
  bitIndex = index;
}

unsigned long BitstreamTraverser::getBitsLeft() const {
  return bs->getNumBits() - std::min(bitIndex, bs->getNumBits());
}

void BitstreamTraverser::appendBits(std::uint64_t begin, std::uint64_t end,
                                    std::list<bool>& newBits) const {
  for (std::uint64_t index = begin; index < end; ++index) newBits.push_back(bs->getBit(index));
}

bool BitstreamTraverser::findBits(const std::string& pattern, std::list<bool>& newBits) {
  const std::uint64_t start = bitIndex;
  const std::uint64_t numBits = bs->getNumBits();
  if (start >= numBits) return false;
  const std::uint64_t occurrence = findPattern(*bs, pattern, start);
  if (occurrence == NOT_FOUND) {
    bitIndex = numBits;
  } else {
    // An empty pattern is only looked for once a bit has been read.
    const std::uint64_t behind = occurrence + std::max<std::uint64_t>(pattern.size(), 1);
    bitIndex = std::min(behind, numBits - 1);
    if (behind < numBits) {
      appendBits(start, behind, newBits);
      return true;
    }
  }
  appendBits(start, numBits, newBits);
  return false;
}

bool BitstreamTraverser::expectBits(const std::string& pattern) {
  if (pattern.size() > getBitsLeft()) return false;
  std::uint64_t window = 0;
  for (std::size_t i = 0; i < pattern.size(); ++i, window <<= 1) {
    if (i % 64 == 0) window = bs->getWindow(bitIndex + i);
    if (!digitMatches(pattern[i], window >> 63 != 0)) return false;
  }
  bitIndex += pattern.size();
  return true;
}

bool BitstreamTraverser::expectBits(const std::string& pattern, std::list<bool>& newBits) {
  const std::size_t NEWBITS_START_LENGTH = newBits.size();
  const std::uint64_t start = bitIndex;
  const bool isMatch = expectBits(pattern);
  if (isMatch) appendBits(start, bitIndex, newBits);
  assertThat(isMatch || newBits.size() == NEWBITS_START_LENGTH,
             "bool BitstreamTraverser::expectBits(const string&, std::list<bool>&)",
             "newBits.size() == NEWBITS_START_LENGTH");
  return isMatch;
}

bool BitstreamTraverser::expectBits(char expected, int count, std::list<bool>& newBits) {
  assertThat(expected == '0' || expected == '1',
             "bool BitstreamTraverser::expectBits(char, int, std::list<bool>&)", "0");
  if (count <= 0) return true;
  const std::uint64_t end =
      bitIndex + std::min<std::uint64_t>(static_cast<std::uint64_t>(count), getBitsLeft());
  for (std::uint64_t index = bitIndex; index < end; ++index) {
    if (bs->getBit(index) != (expected == '1')) return false;
  }
  appendBits(bitIndex, end, newBits);
  bitIndex = end;
  return true;
}

void BitstreamTraverser::skipBits(int bitsToSkip) {
  // A negative count moves nothing, so it never runs past the end.
  const auto count = static_cast<std::uint64_t>(std::max(bitsToSkip, 0));
  assertThat(count < getBitsLeft(),
             "void BitstreamTraverser::skipBits(int, std::list<bool>&, std::string&)",
             "bitIndex + bitsToSkip < bs->getNumBits()");
  bitIndex += count;
}

void BitstreamTraverser::skipBits(int bitsToSkip, std::string& text) {
  const std::uint64_t start = bitIndex;
  skipBits(bitsToSkip);
  bs->appendDigits(start, bitIndex, text);
}

void BitstreamTraverser::skipBits(int bitsToSkip, std::list<bool>& newBits) {
  const std::uint64_t start = bitIndex;
  skipBits(bitsToSkip);
  appendBits(start, bitIndex, newBits);
}

void BitstreamTraverser::skipBits(int bitsToSkip, std::list<bool>& newBits, std::string& text) {
  const std::uint64_t start = bitIndex;
  skipBits(bitsToSkip, newBits);
  bs->appendDigits(start, bitIndex, text);
}
