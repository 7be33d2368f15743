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
constexpr unsigned NOT_A_DIGIT = 0x80;

constexpr std::array<unsigned char, 256> makeReversedDigits() {
  std::array<unsigned char, 256> table{};
  for (unsigned i = 0; i < table.size(); ++i) {
    const int value = hexDigitValue(static_cast<char>(i));
    table[i] = static_cast<unsigned char>(
        value < 0 ? NOT_A_DIGIT : BIT_REVERSE_TABLE[static_cast<unsigned>(value)] >> 4U);
  }
  return table;
}

// Digit values with their four bits reversed, because the words are kept first bit lowest.
constexpr std::array<unsigned char, 256> REVERSED_DIGITS = makeReversedDigits();

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
  unsigned seen = 0;
  std::size_t i = word.size() % 2;
  if (i == 1) {
    seen = REVERSED_DIGITS[static_cast<unsigned char>(word[0])];
    *target++ = static_cast<unsigned char>(seen << 4);
  }
  for (; i < word.size(); i += 2) {
    const unsigned high = REVERSED_DIGITS[static_cast<unsigned char>(word[i])];
    const unsigned low = REVERSED_DIGITS[static_cast<unsigned char>(word[i + 1])];
    seen |= high | low;
    *target++ = static_cast<unsigned char>(low << 4 | high);
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

std::uint64_t EbrColumnReader::nextFrame() {
  std::uint64_t frame = 0;
  const std::uint64_t groupBits = contents.bitsPerEbr;
  if (bitsLeft >= 64 && groupBits <= 32 && 64 % groupBits == 0) {
    // The usual widths: every frame is made of whole groups, a round of dealing apart.
    const std::uint64_t mask = (UINT64_C(1) << groupBits) - 1;
    const std::uint64_t round = contents.numEbrs * groupBits;
    const unsigned char* bytes = contents.bytes.data();
    for (std::uint64_t filled = 0; filled < 64; filled += groupBits, position += round) {
      const std::uint64_t loaded = loadLittleEndian64(bytes + position / 8) >> position % 8;
      frame |= (loaded & mask) << filled;
    }
    bitsLeft -= 64;
    return frame;
  }
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
      position += (contents.numEbrs - 1) * groupBits;
      groupBitsLeft = groupBits;
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
