// The bits of every byte are reversed, because a row keeps the first bit least significant: the
// first digit makes the low half of the byte.
#include "base/hexwords.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>

#include "base/digits.h"
#include "base/reversal.h"

namespace {

// Sixteen characters, which GCC and Clang turn into the vector instructions of any processor.
using Characters = unsigned char __attribute__((vector_size(16)));
// The same as lanes of two bytes, which processors can shift; no bit leaves its byte below.
using BytePairs = std::uint16_t __attribute__((vector_size(16)));

// The values of 16 digits. Sets the bytes of `bad` in whose place there is no digit.
Characters digitValues(const char* digits, Characters& bad) {
  Characters characters;
  std::memcpy(&characters, digits, sizeof characters);
  const auto isDecimal = static_cast<Characters>(characters - '0' <= 9);
  const auto isLetter = static_cast<Characters>((characters | 0x20) - 'a' <= 5);  // either case
  bad |= ~(isDecimal | isLetter);
  return (characters & 0x0F) + (isLetter & 9);  // the low half of 'a' and of 'A' is 1
}

// Converts 32 digits at a time, four times as fast as pair by pair (BM_appendWord). The number of
// digits is a multiple of 32. False if one of them is not hexadecimal.
constexpr std::size_t BLOCK = 2 * sizeof(Characters);
bool convertBlocks(std::string_view digits, unsigned char* target) {
  Characters bad{};
  for (; !digits.empty(); digits.remove_prefix(BLOCK), target += BLOCK / 2) {
    const Characters a = digitValues(digits.data(), bad);
    const Characters b = digitValues(digits.data() + sizeof a, bad);
    const auto first = std::bit_cast<BytePairs>(
        __builtin_shufflevector(a, b, 0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30));
    const auto second = std::bit_cast<BytePairs>(
        __builtin_shufflevector(a, b, 1, 3, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23, 25, 27, 29, 31));
    BytePairs bytes = first | second << 4;
    bytes = (bytes >> 2 & 0x3333) | (bytes & 0x3333) << 2;  // reverses the bits of each half
    bytes = (bytes >> 1 & 0x5555) | (bytes & 0x5555) << 1;
    std::memcpy(target, &bytes, sizeof bytes);
  }
  std::array<std::uint64_t, 2> halves;
  std::memcpy(halves.data(), &bad, sizeof bad);
  return (halves[0] | halves[1]) == 0;
}

// What a digit adds to its byte. 16 bits wide, so that one OR over a word's entries shows whether
// all its characters are digits: a branch for every digit would be mispredicted too often.
constexpr std::uint16_t NOT_A_DIGIT = 0x100;
using DigitTable = std::array<std::uint16_t, 256>;

constexpr DigitTable makeDigitTable(unsigned shift) {
  DigitTable table{};
  for (unsigned i = 0; i < table.size(); ++i) {
    const int value = hexDigitValue(static_cast<char>(i));
    const unsigned reversed = value < 0 ? 0 : BIT_REVERSE_TABLE[static_cast<unsigned>(value)] >> 4U;
    table[i] = value < 0 ? NOT_A_DIGIT : static_cast<std::uint16_t>(reversed << shift);
  }
  return table;
}

constexpr DigitTable FIRST_DIGITS = makeDigitTable(0);
constexpr DigitTable SECOND_DIGITS = makeDigitTable(4);

// Converts digits pair by pair, an odd number of them as if a '0' came first. False if one of them
// is not hexadecimal.
bool convertPairs(std::string_view text, unsigned char* target) {
  const auto* digits = reinterpret_cast<const unsigned char*>(text.data());
  const unsigned char* const end = digits + text.size();
  unsigned seen = 0;
  if (text.size() % 2 == 1) {
    seen = SECOND_DIGITS[*digits++];
    *target++ = static_cast<unsigned char>(seen);
  }
  for (; digits != end; digits += 2) {
    const unsigned byte = static_cast<unsigned>(FIRST_DIGITS[digits[0]] | SECOND_DIGITS[digits[1]]);
    seen |= byte;
    *target++ = static_cast<unsigned char>(byte);
  }
  return (seen & NOT_A_DIGIT) == 0;
}

}  // namespace

bool readHexDigits(std::string_view word, unsigned char* row) {
  const std::string_view start = word.substr(0, word.size() % BLOCK);
  return convertPairs(start, row) &&
         convertBlocks(word.substr(start.size()), row + (start.size() + 1) / 2);
}

void appendHexDigits(std::span<const unsigned char> row, std::uint64_t begin, std::uint64_t end,
                     std::string& text) {
  constexpr std::uint64_t DIGIT_BITS = 4;
  // From the end, because the first digit is the one that may have fewer bits.
  std::size_t digit = text.size() + (end - begin + DIGIT_BITS - 1) / DIGIT_BITS;
  text.resize(digit);
  for (; end % 8 == 0 && end - begin >= 8; end -= 8) {
    const unsigned byte = BIT_REVERSE_TABLE[row[end / 8 - 1]];
    text[--digit] = HEX_DIGITS[byte & 0xF];
    text[--digit] = HEX_DIGITS[byte >> 4];
  }
  while (end > begin) {
    const std::uint64_t taken = std::min(DIGIT_BITS, end - begin);
    end -= taken;
    const unsigned next = end / 8 + 1 < row.size() ? row[end / 8 + 1] : 0U;
    const unsigned bits = (next << 8 | row[end / 8]) >> end % 8;
    // Reversed, the first bit is the top one of a byte.
    text[--digit] = HEX_DIGITS[BIT_REVERSE_TABLE[bits & 0xFF] >> (8 - taken)];
  }
}
