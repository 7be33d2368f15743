#include "ramgraftcontents.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "ramgraftassert.h"
#include "ramgraftbits.h"
#include "ramgraftcrc.h"
#include "ramgraftformat.h"
#include "ramgraftutil.h"

namespace {

constexpr std::size_t SLACK = 8;

// What a hexadecimal digit adds to its byte. The bits are reversed, because the words are kept
// first bit lowest: the first digit makes the byte's low half. 16 bits wide, so that one OR over a
// word's entries tells whether all of its characters are digits.
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

}  // namespace

EbrContents::EbrContents(std::uint64_t ebrs, std::uint64_t bitsEach)
    : numEbrs(ebrs), bitsPerEbr(bitsEach), bytes(SLACK) {
  assertThat(ebrs >= 1 && bitsEach >= 1, "EbrContents::EbrContents(uint64_t, uint64_t)",
             "numEbrs >= 1 && bitsPerEbr >= 1");
}

void EbrContents::reserve(std::uint64_t wordBytes) { bytes.reserve(wordBytes + SLACK); }

bool EbrContents::appendWord(std::string_view word) {
  const std::size_t start = bytes.size() - SLACK;
  bytes.resize(bytes.size() + (word.size() + 1) / 2);
  unsigned char* target = bytes.data() + start;
  const auto* digits = reinterpret_cast<const unsigned char*>(word.data());
  const unsigned char* const end = digits + word.size();
  unsigned seen = 0;
  if (word.size() % 2 == 1) {
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

void EbrContents::appendBytes(const std::vector<unsigned char>& wordBytes) {
  std::size_t target = bytes.size() - SLACK;
  bytes.resize(bytes.size() + wordBytes.size());
  for (const unsigned char byte : wordBytes) bytes[target++] = reverseByteBits(byte);
}

std::uint64_t EbrContents::getNumBits() const { return (bytes.size() - SLACK) * 8; }

std::uint64_t EbrContents::getColumnBits(std::uint64_t ebr) const {
  const std::uint64_t numGroups = getNumBits() / bitsPerEbr;
  const std::uint64_t turn = numEbrs - 1 - ebr;  // the EBR's place in each round of dealing
  const std::uint64_t inLastRound = turn < numGroups % numEbrs ? 1 : 0;
  return (numGroups / numEbrs + inLastRound) * bitsPerEbr;
}

EbrColumnReader::EbrColumnReader(const EbrContents& words, std::uint64_t ebr)
    : contents(words),
      bitsLeft(words.getColumnBits(ebr)),
      position((words.numEbrs - 1 - ebr) * words.bitsPerEbr),
      groupBitsLeft(words.bitsPerEbr) {}

// 64 bits made of whole groups, each a round of dealing behind the one before. A template, because
// at 8 bits it takes half the time when the compiler knows the width (BM_columns).
template <unsigned GROUP_BITS>
std::uint64_t EbrColumnReader::gather() {
  constexpr std::uint64_t MASK = (UINT64_C(1) << GROUP_BITS) - 1;
  const std::uint64_t numEbrs = contents.numEbrs;
  const unsigned char* bytes = contents.bytes.data();
  std::uint64_t frame = 0;
  std::uint64_t at = position;
  for (unsigned filled = 0; filled < 64; filled += GROUP_BITS) {
    if constexpr (GROUP_BITS == 8) {  // the usual width: whole bytes, and no need of a shift
      frame |= std::uint64_t{bytes[at / 8 + filled / 8 * numEbrs]} << filled;
    } else {
      frame |= (loadLittleEndian64(bytes + at / 8) >> at % 8 & MASK) << filled;
      at += numEbrs * GROUP_BITS;
    }
  }
  if constexpr (GROUP_BITS == 8) at += 64 * numEbrs;
  position = at;
  bitsLeft -= 64;
  return frame;
}

std::uint64_t EbrColumnReader::nextFrame() {
  if (bitsLeft >= 64) {
    switch (contents.bitsPerEbr) {
      case 1:
        return gather<1>();
      case 2:
        return gather<2>();
      case 4:
        return gather<4>();
      case 8:
        return gather<8>();
      case 16:
        return gather<16>();
      default:
        break;
    }
  }
  std::uint64_t frame = 0;
  constexpr std::uint64_t LARGEST_PIECE = 56;  // what one load holds at any bit of a byte
  for (std::uint64_t filled = 0; filled < 64 && bitsLeft > 0;) {
    const std::uint64_t take = std::min({groupBitsLeft, 64 - filled, LARGEST_PIECE});
    const std::uint64_t loaded =
        loadLittleEndian64(contents.bytes.data() + position / 8) >> position % 8;
    frame |= (loaded & ((UINT64_C(1) << take) - 1)) << filled;
    filled += take;
    position += take;
    bitsLeft -= take;
    groupBitsLeft -= take;
    if (groupBitsLeft == 0) {
      position += (contents.numEbrs - 1) * contents.bitsPerEbr;
      groupBitsLeft = contents.bitsPerEbr;
    }
  }
  return frame;
}

std::uint64_t columnLength(std::uint64_t dataBits) {
  if (dataBits == 0) return 0;
  const std::uint64_t wholeBlocks = (dataBits - 1) / COLUMN_BLOCK_DATA_BITS;
  const std::uint64_t rest = dataBits - wholeBlocks * COLUMN_BLOCK_DATA_BITS;
  return wholeBlocks * COLUMN_BLOCK_LENGTH + rest + (rest > 8 ? 1 : 0);
}

std::uint64_t physicalLineWords(std::uint64_t dataBits) {
  return std::max(columnLength(dataBits), COLUMN_LENGTH) / COLUMN_BLOCK_LENGTH * 2;
}

std::string makePhysicalLine(const EbrContents& contents, std::uint64_t ebr) {
  const std::uint64_t dataBits = contents.getColumnBits(ebr);
  std::string column;
  EbrColumnReader reader(contents, ebr);
  for (std::uint64_t done = 0; done < dataBits; done += 64) {
    const std::uint64_t frame = reader.nextFrame();
    for (unsigned k = 0; k < 64 && done + k < dataBits; ++k) {
      if (k % COLUMN_BLOCK_DATA_BITS == 8) column += '0';
      column += bitToChar((frame >> k & 1) != 0);
      const bool isBlockFull = k % COLUMN_BLOCK_DATA_BITS == COLUMN_BLOCK_DATA_BITS - 1;
      if (isBlockFull && done + k + 1 < dataBits) column += "000";
    }
  }
  if (column.size() < COLUMN_LENGTH) column.resize(COLUMN_LENGTH, '0');
  std::reverse(column.begin(), column.end());
  std::string line;
  binaryStringToHex(column, line);
  return line;
}
