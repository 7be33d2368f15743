#include "steps/ramgrafttraverse.h"

#include <algorithm>
#include <cstddef>

#include "base/assertion.h"
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

// True if the bits from `begin` on, as many as the pattern has, equal it.
bool BitstreamTraverser::matches(const std::string& pattern, std::uint64_t begin) const {
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    if (!digitMatches(pattern[i], bs->getBit(begin + i))) return false;
  }
  return true;
}

bool BitstreamTraverser::findBits(const std::string& pattern, std::list<bool>& newBits) {
  const std::uint64_t start = bitIndex;
  const std::uint64_t numBits = bs->getNumBits();
  for (; bitIndex < numBits; ++bitIndex) {
    newBits.push_back(bs->getBit(bitIndex));
    const std::uint64_t end = bitIndex + 1;
    if (end - start < pattern.size() || !matches(pattern, end - pattern.size())) continue;
    if (end == numBits) return false;
    bitIndex = end;
    return true;
  }
  return false;
}

bool BitstreamTraverser::expectBits(const std::string& pattern, std::list<bool>& newBits) {
  const std::size_t NEWBITS_START_LENGTH = newBits.size();
  const bool isMatch = pattern.size() <= getBitsLeft() && matches(pattern, bitIndex);
  if (isMatch) {
    appendBits(bitIndex, bitIndex + pattern.size(), newBits);
    bitIndex += pattern.size();
  }
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

void BitstreamTraverser::skipBits(int bitsToSkip, std::list<bool>& newBits, std::string& text) {
  const auto count = static_cast<std::uint64_t>(std::max(bitsToSkip, 0));
  // A negative count also meets the condition at the end of the stream, and past it.
  const auto behind = static_cast<std::uint64_t>(-std::min<std::int64_t>(bitsToSkip, 0));
  assertThat(bitIndex + count < bs->getNumBits() + behind,
             "void BitstreamTraverser::skipBits(int, std::list<bool>&, std::string&)",
             "bitIndex + bitsToSkip < bs->getNumBits()");
  if (count == 0) return;  // the cursor may be past the end
  bs->appendDigits(bitIndex, bitIndex + count, text);
  appendBits(bitIndex, bitIndex + count, newBits);
  bitIndex += count;
}

void BitstreamTraverser::skipBits(int bitsToSkip, std::list<bool>& newBits) {
  std::string text;
  skipBits(bitsToSkip, newBits, text);
}
