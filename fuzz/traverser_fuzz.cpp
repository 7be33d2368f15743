// The traverser against a plain model of it. Input: the stream's length in bits, the stream, then
// operations: a code, a length, and the digits of a pattern, one to a bit.
#include <algorithm>
#include <cstdlib>

#include "fixture.h"
#include "fuzz.h"
#include "ramgrafttraverse.h"

namespace {

// A traverser as its rules put it: bit by bit, on text.
struct Model {
  std::string stream, list;
  std::size_t cursor = 0;

  bool find(const std::string& pattern) {
    const std::size_t start = cursor;
    while (cursor < stream.size()) {
      list += stream[cursor];
      const std::size_t seen = cursor + 1 - start;
      if (seen >= pattern.size() &&
          stream.compare(cursor + 1 - pattern.size(), pattern.size(), pattern) == 0) {
        if (cursor + 1 == stream.size()) return false;
        ++cursor;
        return true;
      }
      ++cursor;
    }
    return false;
  }
  bool expect(const std::string& pattern) {
    if (stream.size() - std::min(cursor, stream.size()) < pattern.size()) return false;
    return stream.compare(cursor, pattern.size(), pattern) == 0 && skip(pattern.size());
  }
  bool expect(char digit, std::size_t count) {
    count = std::min(count, stream.size() - cursor);
    return stream.compare(cursor, count, std::string(count, digit)) == 0 && skip(count);
  }
  bool skip(std::size_t count) {
    list += stream.substr(cursor, count);
    cursor += count;
    return true;
  }
};

std::string takeDigits(const std::uint8_t*& data, const std::uint8_t* end, std::size_t count) {
  std::string text;
  for (; data < end && text.size() < count; ++data) text += digits(*data, 8);
  return text.substr(0, count);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::uint8_t* const end = data + size;
  if (size < 2) return 0;
  Model model;
  const std::size_t length = data[0] * 2U + (data[1] & 1U);
  model.stream = takeDigits(data += 2, end, length);
  Bitstream bitstream(0);
  pushDigits(bitstream, model.stream);
  BitstreamTraverser traverser(&bitstream);
  std::list<bool> newBits;
  while (end - data >= 2) {
    const unsigned code = data[0] % 5;
    const std::size_t count = data[1] % 100;
    data += 2;
    // A pattern from the stream is one that a search can find.
    const bool isFromStream = code == 0 && count >= 50 && count < model.stream.size();
    const std::string pattern =
        isFromStream ? model.stream.substr(count, 2 * count - 60) : takeDigits(data, end, count);
    const char digit = pattern.empty() ? '0' : pattern[0];
    bool expected = true, actual = true;
    if (code == 0) {
      expected = model.find(pattern);
      actual = traverser.findBits(pattern, newBits);
    } else if (code == 1) {
      expected = model.expect(pattern);
      actual = traverser.expectBits(pattern, newBits);
    } else if (code == 2) {
      expected = model.expect(digit, count);
      actual = traverser.expectBits(digit, static_cast<int>(count), newBits);
    } else if (code == 3 && traverser.getBitsLeft() > count) {
      std::string text;
      expected = model.skip(count);
      traverser.skipBits(static_cast<int>(count / 2), newBits);
      traverser.skipBits(static_cast<int>(count - count / 2), newBits, text);
      actual = text == model.list.substr(model.list.size() - text.size());
    } else if (code == 4 && count < model.stream.size()) {
      traverser.setBitIndex(model.cursor = count);
    }
    std::string list;
    for (const bool bit : newBits) list += bit ? '1' : '0';
    if (expected != actual || traverser.getBitIndex() != model.cursor || list != model.list) {
      std::abort();
    }
  }
  return 0;
}

std::string makeSeed(std::mt19937_64& random) {
  std::string seed;
  for (std::uint64_t n = 20 + random() % 200; n > 0; --n) {
    seed += static_cast<char>(random() % 3 == 0 ? random() : random() % 4);
  }
  return seed;
}
