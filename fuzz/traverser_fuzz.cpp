// The stream and its traverser against text. Input: the stream's length in bits, the stream, then
// operations: a code, a length, and the digits of a pattern, one to a bit.
#include <algorithm>

#include "fixture.h"
#include "run/ramgraft.h"

namespace {

class Walk {
 public:
  Walk(const std::uint8_t* data, std::size_t size) : input(data, data + size) {
    stream = takeDigits(input[0] * 2U + (input[1] & 1U));
    pushDigits(bitstream, stream);
  }

  // False when the input has no further operation.
  bool step() {
    if (input.size() - at < 2) return false;
    const unsigned code = input[at] % 8;
    const int number = input[at + 1] % 100;
    at += 2;
    const auto count = static_cast<unsigned>(number);
    const std::string pattern = takeDigits(count);
    if (code == 0) {
      // A pattern from the stream is one that a search can find.
      const bool isThere = count >= 50 && count < stream.size();
      find(isThere ? stream.substr(count, 2 * count - 60) : pattern);
    } else if (code == 1) {
      expect(pattern, traverser.expectBits(pattern, newBits));
    } else if (code == 2) {
      const char digit = pattern.empty() ? '0' : pattern[0];
      expect(std::string(std::min<std::size_t>(count, bitsLeft()), digit),
             traverser.expectBits(digit, number, newBits));
    } else if (code == 3 && count < bitsLeft()) {
      traverser.skipBits(number, newBits);
      pass(cursor + count);
    } else if (code == 4 && count < stream.size()) {
      traverser.setBitIndex(cursor = count);
    } else if (code == 5 && pattern.size() <= bitsLeft()) {
      overwriteBits(bitstream, cursor, pattern);
      stream.replace(cursor, pattern.size(), pattern);
    } else if (code == 6 && bitsLeft() >= 16) {
      writeEbrCrc(traverser, number * 4 - 8, newBits);
      stream.replace(cursor, 16, spellCrc(stream, cursor, number * 4 - 8));
      cursor += 16;
    } else if (code == 7) {
      findSectionHere();
    }
    check();
    return true;
  }

 private:
  std::string takeDigits(std::size_t most) {
    std::string text;
    for (; at < input.size() && text.size() < most; ++at) text += digits(input[at], 8);
    return text.substr(0, most);
  }
  std::size_t bitsLeft() const { return stream.size() - cursor; }

  // The bits up to `end`, or the end of the stream, are read.
  void pass(std::size_t end) {
    end = std::min(end, stream.size());
    list += stream.substr(cursor, end - cursor);
    cursor = end;
  }

  void find(const std::string& pattern) {
    const std::size_t found = stream.find(pattern, cursor);
    const bool isAny = found < stream.size();
    const std::size_t end = isAny ? found + std::max<std::size_t>(1, pattern.size()) : found;
    require(traverser.findBits(pattern, newBits) == (end < stream.size()));
    pass(end);
    if (isAny && end == stream.size()) --cursor;
  }

  void findSectionHere() {
    std::size_t end = cursor;
    const bool isFound = findSection(stream, end);
    require(findEbrAddressSection(traverser, newBits) == isFound);
    // The last bit of an opcode at the end of the stream is read twice.
    const bool isOpcodeLast = !isFound && end != std::string::npos;
    pass(isFound ? end : stream.size());
    if (isOpcodeLast) list += '0';
  }

  void expect(const std::string& pattern, bool actual) {
    const bool expected = stream.compare(cursor, pattern.size(), pattern) == 0;
    require(actual == expected);
    if (expected) pass(cursor + pattern.size());
  }

  void check() const {
    require(traverser.getBitIndex() == cursor && digitsOf(newBits) == list);
    const std::string window = (stream + digits(0, 64)).substr(cursor, 64);
    require(digitsOf(bitstream) == stream && digits(bitstream.getWindow(cursor), 64) == window);
  }

  std::vector<std::uint8_t> input;
  std::string stream, list;        // as digits; `list` has those read
  std::size_t at = 2, cursor = 0;  // in the input, in the stream
  std::list<bool> newBits;
  Bitstream bitstream{0};
  BitstreamTraverser traverser{&bitstream};
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  Walk walk(data, size);
  while (walk.step()) continue;
  return 0;
}

std::string makeSeed(std::mt19937_64& random) {
  const bool isDense = random() % 2 == 0;
  std::string seed;
  for (std::uint64_t n = 20 + random() % 200; n > 0; --n) {
    seed += static_cast<char>(isDense || random() % 3 == 0 ? random() : random() % 8);
  }
  const std::string section("\xF6\0\0\0\0", 5);
  return seed.replace(random() % seed.size(), random() % 6, section);
}
