#include "ramgraftcontents.h"

#include <array>
#include <cstddef>
#include <cstring>

#include "ramgraftassert.h"
#include "ramgraftcrc.h"
#include "ramgraftutil.h"

namespace {

constexpr std::size_t SLACK = 8;

// ---- Hexadecimal digits to bytes ----
//
// The bits of every byte are reversed, because the words are kept first bit lowest: the first digit
// makes the byte's low half.

// Sixteen characters, which GCC and Clang turn into the vector instructions of any processor.
using Characters = unsigned char __attribute__((vector_size(16)));

// What the digits stand for. Marks in `bad` the places of characters that are no digits.
Characters digitValues(const char* digits, Characters& bad) {
  Characters characters;
  std::memcpy(&characters, digits, sizeof characters);
  const Characters decimal = characters - '0';
  const Characters letter = (characters | 0x20) - 'a';  // either case
  const auto isDecimal = static_cast<Characters>(decimal <= 9);
  const auto isLetter = static_cast<Characters>(letter <= 5);
  bad |= ~(isDecimal | isLetter);
  return (decimal & isDecimal) | ((letter + 10) & isLetter);
}

// Converts 32 digits at a time, a multiple of which `digits` are: four times as fast as one after
// the other (BM_appendWord). False when one of them is not hexadecimal.
constexpr std::size_t BLOCK = 2 * sizeof(Characters);
bool convertBlocks(std::string_view digits, unsigned char* target) {
  Characters bad{};
  for (; !digits.empty(); digits.remove_prefix(BLOCK), target += BLOCK / 2) {
    const Characters a = digitValues(digits.data(), bad);
    const Characters b = digitValues(digits.data() + sizeof a, bad);
    const Characters first =
        __builtin_shufflevector(a, b, 0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
    const Characters second =
        __builtin_shufflevector(a, b, 1, 3, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23, 25, 27, 29, 31);
    Characters bytes = first | second << 4;
    bytes = (bytes >> 2 & 0x33) | (bytes & 0x33) << 2;  // turns the bits of each half round
    bytes = (bytes >> 1 & 0x55) | (bytes & 0x55) << 1;
    std::memcpy(target, &bytes, sizeof bytes);
  }
  std::array<std::uint64_t, 2> halves;
  std::memcpy(halves.data(), &bad, sizeof bad);
  return (halves[0] | halves[1]) == 0;
}

// Converts digits one after the other, an odd number as if a '0' stood in front.
bool convertEach(std::string_view digits, unsigned char* target) {
  bool isFirst = digits.size() % 2 == 0;  // of a byte's two digits
  unsigned byte = 0;
  for (const char digit : digits) {
    const int value = hexDigitValue(digit);
    if (value < 0) return false;
    byte = (byte << 4 | static_cast<unsigned>(value)) & 0xFF;
    if (!isFirst) *target++ = BIT_REVERSE_TABLE[byte];
    isFirst = !isFirst;
  }
  return true;
}

}  // namespace

EbrContents::EbrContents(std::uint64_t ebrs, std::uint64_t bitsEach)
    : numEbrs(ebrs), bitsPerEbr(bitsEach) {
  assertThat(ebrs >= 1 && bitsEach >= 1, "EbrContents::EbrContents(uint64_t, uint64_t)",
             "numEbrs >= 1 && bitsPerEbr >= 1");
}

void EbrContents::reserve(std::uint64_t wordBytes) { bytes.reserve(wordBytes + SLACK); }

// Appends `numBytes` bytes, whose contents are the caller's to set.
unsigned char* EbrContents::grow(std::size_t numBytes) {
  const std::size_t end = bytes.size();
  bytes.resize(end + numBytes + SLACK);
  bytes.resize(end + numBytes);
  return bytes.data() + end;
}

bool EbrContents::appendWord(std::string_view word) {
  unsigned char* target = grow((word.size() + 1) / 2);
  const std::string_view start = word.substr(0, word.size() % BLOCK);
  return convertEach(start, target) &&
         convertBlocks(word.substr(start.size()), target + (start.size() + 1) / 2);
}

void EbrContents::appendBytes(const std::vector<unsigned char>& wordBytes) {
  unsigned char* target = grow(wordBytes.size());
  for (const unsigned char byte : wordBytes) *target++ = reverseByteBits(byte);
}

std::uint64_t EbrContents::getColumnBits(std::uint64_t ebr) const {
  const std::uint64_t numGroups = bytes.size() * 8 / bitsPerEbr;
  const std::uint64_t inLastRound = getTurn(ebr) < numGroups % numEbrs ? 1 : 0;
  return (numGroups / numEbrs + inLastRound) * bitsPerEbr;
}
