// A column's bits stand a whole round of dealing apart: one after the other they would each be read
// from a cache line of their own. Where every EBR holds a byte of each word, the words are the rows
// of a matrix of bytes whose columns are wanted, and tiles of TILE_EBRS columns and 8 rows are
// transposed in registers (BM_columns). All else is gathered one EBR after the other.
#include "ebr/columns.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "base/bits.h"
#include "ebr/format.h"
#include "steps/ramgraftutil.h"

namespace {

constexpr std::uint64_t FRAME_CONTENT_BYTES = FRAME_WORDS;
constexpr std::uint64_t FRAME_CONTENT_BITS = 8 * FRAME_CONTENT_BYTES;
constexpr std::uint64_t TILE_EBRS = 16;
constexpr std::uint64_t TILE_ROUNDS = 8;
constexpr std::uint64_t BATCH_EBRS = 4 * TILE_EBRS;  // as many bytes as a cache line has

// Sixteen bytes, which GCC and Clang turn into the vector instructions of any processor.
using Row = unsigned char __attribute__((vector_size(TILE_EBRS)));

// Transposes a tile: row i holds a byte for each of 16 columns; afterwards it holds the eight bytes
// of column 2i and then those of column 2i + 1. Each step takes one bit of the row's number to the
// low end of the number of the place in the row, and the high bit of that to the row's number.
void transpose(std::array<Row, TILE_ROUNDS>& rows) {
  for (int step = 0; step < 3; ++step) {
    std::array<Row, TILE_ROUNDS> next;
    for (std::size_t i = 0; i < TILE_ROUNDS / 2; ++i) {
      const Row a = rows[i], b = rows[i + TILE_ROUNDS / 2];
      next[2 * i] =
          __builtin_shufflevector(a, b, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
      next[2 * i + 1] = __builtin_shufflevector(a, b, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29,
                                                14, 30, 15, 31);
    }
    rows = next;
  }
}

// Reads one EBR's column, 64 data bits at a time.
class ColumnReader {
 public:
  // Starts behind the EBR's first `groupsRead` groups.
  ColumnReader(const EbrContents& from, std::uint64_t ebr, std::uint64_t groupsRead)
      : contents(from),
        bitsLeft(from.getColumnBits(ebr) - groupsRead * from.getBitsPerEbr()),
        position((groupsRead * from.getNumEbrs() + from.getTurn(ebr)) * from.getBitsPerEbr()),
        groupBitsLeft(from.getBitsPerEbr()) {}

  std::uint64_t getBitsLeft() const { return bitsLeft; }

  // The next 64 data bits, the first one least significant. Bits behind the column's end are 0.
  std::uint64_t nextFrame() {
    // With a frame to come behind this one, whole words can be loaded for all of it.
    if (bitsLeft >= 2 * FRAME_CONTENT_BITS) {
      switch (contents.getBitsPerEbr()) {
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
    return gatherPieces();
  }

 private:
  // 64 bits made of whole groups, each a round of dealing behind the one before. A template,
  // because the compiler has to know the width to unroll it.
  template <unsigned GROUP_BITS>
  std::uint64_t gather() {
    constexpr std::uint64_t MASK = (UINT64_C(1) << GROUP_BITS) - 1;
    const unsigned char* const words = contents.getBytes().data();
    std::uint64_t frame = 0;
    for (unsigned filled = 0; filled < FRAME_CONTENT_BITS; filled += GROUP_BITS) {
      frame |= (loadLittleEndian64(words + position / 8) >> position % 8 & MASK) << filled;
      position += contents.getNumEbrs() * GROUP_BITS;
    }
    bitsLeft -= FRAME_CONTENT_BITS;
    return frame;
  }

  std::uint64_t gatherPieces() {
    constexpr std::uint64_t LARGEST_PIECE = 56;  // what one load holds at any bit of a byte
    std::uint64_t frame = 0;
    for (std::uint64_t filled = 0; filled < FRAME_CONTENT_BITS && bitsLeft > 0;) {
      const std::uint64_t take =
          std::min({groupBitsLeft, FRAME_CONTENT_BITS - filled, LARGEST_PIECE});
      frame |= (load() & ((UINT64_C(1) << take) - 1)) << filled;
      filled += take;
      position += take;
      bitsLeft -= take;
      groupBitsLeft -= take;
      if (groupBitsLeft == 0) {
        position += (contents.getNumEbrs() - 1) * contents.getBitsPerEbr();
        groupBitsLeft = contents.getBitsPerEbr();
      }
    }
    return frame;
  }

  // At least 57 bits from `position` on; those behind the last byte are 0.
  std::uint64_t load() const {
    const std::span<const unsigned char> rest = contents.getBytes().subspan(position / 8);
    if (rest.size() >= 8) return loadLittleEndian64(rest.data()) >> position % 8;
    std::array<unsigned char, 8> last{};
    std::copy(rest.begin(), rest.end(), last.begin());
    return loadLittleEndian64(last.data()) >> position % 8;
  }

  const EbrContents& contents;
  std::uint64_t bitsLeft;       // of the column
  std::uint64_t position;       // of the next bit, in the words' row of bits
  std::uint64_t groupBitsLeft;  // of the group that `position` stands in
};

}  // namespace

std::span<const unsigned char> EbrColumns::get(std::uint64_t ebr) {
  if (ebr < begin || ebr >= end) gather(ebr);
  const std::uint64_t bits = contents.getColumnBits(ebr);
  return {columnOf(ebr),
          (bits + FRAME_CONTENT_BITS - 1) / FRAME_CONTENT_BITS * FRAME_CONTENT_BYTES};
}

unsigned char* EbrColumns::columnOf(std::uint64_t ebr) {
  return bytes.data() + (ebr - begin) * stride;
}

void EbrColumns::gather(std::uint64_t ebr) {
  const std::uint64_t tiledEbrs = contents.getNumEbrs() / TILE_EBRS * TILE_EBRS;
  const bool isTiled = contents.getBitsPerEbr() == 8 && ebr < tiledEbrs;
  begin = isTiled ? ebr / BATCH_EBRS * BATCH_EBRS : ebr;
  end = isTiled ? std::min(begin + BATCH_EBRS, tiledEbrs) : ebr + 1;
  // A cache line more, so that the columns don't all compete for the same places in a cache.
  constexpr std::uint64_t CACHE_LINE = 64;
  stride = contents.getLongestColumnBits() / FRAME_CONTENT_BITS * FRAME_CONTENT_BYTES + CACHE_LINE;
  bytes.resize((end - begin) * stride);
  const std::uint64_t rounds = isTiled ? gatherTiles() : 0;
  for (std::uint64_t each = begin; each < end; ++each) {
    ColumnReader reader(contents, each, rounds);
    unsigned char* target = columnOf(each) + rounds;
    for (; reader.getBitsLeft() > 0; target += FRAME_CONTENT_BYTES) {
      storeLittleEndian64(target, reader.nextFrame());
    }
  }
}

// Gathers all that makes up whole tiles; returns how many rounds of dealing that is.
std::uint64_t EbrColumns::gatherTiles() {
  const std::uint64_t numRounds = contents.getColumnBits(0) / FRAME_CONTENT_BITS * TILE_ROUNDS;
  for (std::uint64_t round = 0; round < numRounds; round += TILE_ROUNDS) {
    const unsigned char* from = contents.getBytes().data() + round * contents.getNumEbrs();
    for (std::uint64_t tileEnd = end; tileEnd > begin; tileEnd -= TILE_EBRS) {
      std::array<Row, TILE_ROUNDS> rows;
      for (std::size_t i = 0; i < TILE_ROUNDS; ++i) {
        const std::uint64_t place = i * contents.getNumEbrs() + contents.getTurn(tileEnd - 1);
        std::memcpy(&rows[i], from + place, sizeof(Row));
        // Rows are too far apart for the processor to foresee; it may be behind the last one.
        __builtin_prefetch(from + place + 4 * TILE_ROUNDS * contents.getNumEbrs());
      }
      transpose(rows);
      const auto* column = reinterpret_cast<const unsigned char*>(rows.data());
      for (std::uint64_t i = 1; i <= TILE_EBRS; ++i, column += TILE_ROUNDS) {
        std::memcpy(columnOf(tileEnd - i) + round, column, TILE_ROUNDS);
      }
    }
  }
  return numRounds;
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

std::string makePhysicalLine(EbrColumns& columns, std::uint64_t ebr) {
  const std::uint64_t dataBits = columns.getContents().getColumnBits(ebr);
  const std::span<const unsigned char> bytes = columns.get(ebr);
  std::string column;
  for (std::uint64_t i = 0; i < dataBits; ++i) {
    if (i % COLUMN_BLOCK_DATA_BITS == 8) column += '0';
    if (i % COLUMN_BLOCK_DATA_BITS == 0 && i > 0) column += "000";
    column += bitToChar((bytes[i / 8] >> i % 8 & 1) != 0);
  }
  if (column.size() < COLUMN_LENGTH) column.resize(COLUMN_LENGTH, '0');
  std::reverse(column.begin(), column.end());
  std::string line;
  binaryStringToHex(column, line);
  return line;
}
