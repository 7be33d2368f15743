// The stream and its traverser against text. Input: the stream's length in bits, the stream, then
// operations: a code, a length, and the digits of a pattern, one to a bit.
#include <algorithm>

#include "fixture.h"
#include "steps/ramgraftebr.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  std::size_t at = 2, cursor = 0;
  const auto takeDigits = [&](std::size_t count) {
    std::string text;
    for (; at < size && text.size() < count; ++at) text += digits(data[at], 8);
    return text.substr(0, count);
  };
  std::string stream = takeDigits(data[0] * 2U + (data[1] & 1U)), list;
  Bitstream bitstream(0);
  pushDigits(bitstream, stream);
  BitstreamTraverser traverser(&bitstream);
  std::list<bool> newBits;
  while (size - at >= 2) {
    const unsigned code = data[at] % 7;
    const int number = data[at + 1] % 100;
    const auto count = static_cast<std::size_t>(number);
    at += 2;
    std::string pattern = takeDigits(count);
    const std::size_t bitsLeft = stream.size() - cursor;
    std::size_t behind = cursor, stepBack = 0;
    bool expected = true, actual = true;
    if (code == 0) {
      // A pattern from the stream is one that a search can find.
      if (count >= 50 && count < stream.size()) pattern = stream.substr(count, 2 * count - 60);
      const std::size_t found = stream.find(pattern, cursor);
      behind = std::min(found, stream.size());
      if (found < stream.size()) behind += std::max<std::size_t>(1, pattern.size());
      expected = behind < stream.size();
      stepBack = !expected && found < stream.size() ? 1 : 0;
      actual = traverser.findBits(pattern, newBits);
    } else if (code <= 2) {
      const char digit = pattern.empty() ? '0' : pattern[0];
      if (code == 2) pattern.assign(std::min(count, bitsLeft), digit);
      expected = stream.compare(cursor, pattern.size(), pattern) == 0;
      if (expected) behind += pattern.size();
      actual = code == 1 ? traverser.expectBits(pattern, newBits)
                         : traverser.expectBits(digit, number, newBits);
    } else if (code == 3 && count < bitsLeft) {
      behind += count;
      traverser.skipBits(number, newBits);
    } else if (code == 4 && count < stream.size()) {
      traverser.setBitIndex(behind = cursor = count);
    } else if (code == 5 && pattern.size() <= bitsLeft) {
      const std::string bytes = packDigits(pattern);
      bitstream.overwriteBits(cursor, reinterpret_cast<const unsigned char*>(bytes.data()),
                              pattern.size());
      stream.replace(cursor, pattern.size(), pattern);
    } else if (code == 6 && bitsLeft >= 16) {
      writeEbrCrc(traverser, number * 4 - 8, newBits);
      stream.replace(cursor, 16, spellCrc(stream, cursor, number * 4 - 8));
      behind = cursor += 16;
    }
    list += stream.substr(cursor, behind - cursor);
    cursor = behind - stepBack;
    require(actual == expected && traverser.getBitIndex() == cursor && digitsOf(newBits) == list);
    const std::string window = (stream + digits(0, 64)).substr(cursor, 64);
    require(digitsOf(bitstream) == stream && digits(bitstream.getWindow(cursor), 64) == window);
  }
  return 0;
}

std::string makeSeed(std::mt19937_64& random) {
  std::string seed;
  for (std::uint64_t n = 20 + random() % 200; n > 0; --n) {
    seed += static_cast<char>(random() % 3 == 0 ? random() : random() % 7);
  }
  return seed;
}
