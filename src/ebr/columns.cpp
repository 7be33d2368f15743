// Consecutive groups of a column are a whole round of dealing apart: read one after the other, each
// comes from a cache line of its own. Where every EBR holds a byte of each word, the words are the
// rows of a matrix of bytes, and the columns of the matrix are wanted. Tiles of TILE_EBRS columns
// and TILE_ROUNDS rows are then transposed in registers (BM_columns). Everything else is gathered
// one EBR after the other.
#include "ebr/columns.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "base/bits.h"
#include "ebr/format.h"

namespace {

constexpr std::uint64_t FRAME_CONTENT_BYTES = FRAME_PAYLOAD_WORDS;
constexpr std::uint64_t FRAME_CONTENT_BITS = 8 * FRAME_CONTENT_BYTES;
static_assert(FRAME_CONTENT_BYTES == sizeof(std::uint64_t), "a frame is gathered in one number");
constexpr std::uint64_t TILE_EBRS = 16;
constexpr std::uint64_t TILE_ROUNDS = 8;
constexpr std::uint64_t BATCH_EBRS = 4 * TILE_EBRS;  // one for each byte of a cache line
static_assert(TILE_ROUNDS == FRAME_CONTENT_BYTES, "a tile is a frame of each of its columns");

// Sixteen bytes, which GCC and Clang turn into the vector instructions of any processor.
using Row = unsigned char __attribute__((vector_size(TILE_EBRS)));

// Transposes a tile: row i has a byte of each of 16 columns; afterwards it has the eight bytes of
// column 2i and then those of column 2i + 1. Read (row, place) as a 7-bit address: each step
// rotates it left by one bit.
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

// A run of consecutive bits of the row that belong to one group.
struct GroupPiece {
  std::uint64_t position;  // of the first bit, in the row
  std::uint64_t bits;
};

// Walks through one EBR's column, group by group.
class ColumnWalk {
 public:
  // Starts after the first `bitsWalked` data bits.
  ColumnWalk(const MemoryWords& memoryWords, std::uint64_t ebr, std::uint64_t bitsWalked)
      : words(memoryWords), bitsLeft(words.getColumnBits(ebr) - bitsWalked) {
    const std::uint64_t bitsPerEbr = words.getBitsPerEbr();
    const std::uint64_t inGroup = bitsWalked % bitsPerEbr;
    const std::uint64_t group = bitsWalked / bitsPerEbr * words.getNumEbrs() + words.getTurn(ebr);
    position = group * bitsPerEbr + inGroup;
    groupBitsLeft = bitsPerEbr - inGroup;
  }

  std::uint64_t getBitsLeft() const { return bitsLeft; }

  // The next piece, of no more than `most` bits.
  GroupPiece next(std::uint64_t most) {
    const GroupPiece piece = {position, std::min(groupBitsLeft, most)};
    position += piece.bits;
    bitsLeft -= piece.bits;
    groupBitsLeft -= piece.bits;
    if (groupBitsLeft == 0) {
      position += words.getRoundBits() - words.getBitsPerEbr();
      groupBitsLeft = words.getBitsPerEbr();
    }
    return piece;
  }

 private:
  const MemoryWords& words;
  std::uint64_t bitsLeft;       // of the column
  std::uint64_t position;       // of the next bit, in the row of bits
  std::uint64_t groupBitsLeft;  // of the group that contains `position`
};

constexpr std::uint64_t LARGEST_PIECE = 57;  // a load from the last bit of a byte has no more

constexpr std::uint64_t lowBits(std::uint64_t count) { return (UINT64_C(1) << count) - 1; }

// At least LARGEST_PIECE bits of the row from `position` on; those after the last byte are 0.
std::uint64_t loadBits(std::span<const unsigned char> row, std::uint64_t position) {
  const std::span<const unsigned char> rest = row.subspan(position / 8);
  if (rest.size() >= 8) return loadLittleEndian64(rest.data()) >> position % 8;
  std::array<unsigned char, 8> last{};
  std::copy(rest.begin(), rest.end(), last.begin());
  return loadLittleEndian64(last.data()) >> position % 8;
}

// Overwrites the bits of a piece with the low bits of `value`.
void storeBits(std::span<unsigned char> row, const GroupPiece& piece, std::uint64_t value) {
  const std::span<unsigned char> rest = row.subspan(piece.position / 8);
  const std::uint64_t mask = lowBits(piece.bits) << piece.position % 8;
  value = value << piece.position % 8 & mask;
  if (rest.size() >= 8) {
    storeLittleEndian64(rest.data(), (loadLittleEndian64(rest.data()) & ~mask) | value);
    return;
  }
  for (unsigned char& byte : rest) {
    const auto place = static_cast<unsigned>(&byte - rest.data()) * 8;
    byte = static_cast<unsigned char>((byte & ~(mask >> place)) | value >> place);
  }
}

// The next 64 data bits, the first one least significant. Bits after the column's end are 0. A call
// for each frame would keep the walk in memory, and a whole run would take up to 30 % longer.
[[gnu::always_inline]] inline std::uint64_t readFrame(std::span<const unsigned char> row,
                                                      ColumnWalk& walk) {
  std::uint64_t frame = 0;
  for (std::uint64_t filled = 0; filled < FRAME_CONTENT_BITS && walk.getBitsLeft() > 0;) {
    const GroupPiece piece = walk.next(std::min(FRAME_CONTENT_BITS - filled, LARGEST_PIECE));
    frame |= (loadBits(row, piece.position) & lowBits(piece.bits)) << filled;
    filled += piece.bits;
  }
  return frame;
}

// The inverse: overwrites the next 64 data bits, or those up to the column's end.
void writeFrame(std::span<unsigned char> row, ColumnWalk& walk, std::uint64_t frame) {
  for (std::uint64_t taken = 0; taken < FRAME_CONTENT_BITS && walk.getBitsLeft() > 0;) {
    const GroupPiece piece = walk.next(std::min(FRAME_CONTENT_BITS - taken, LARGEST_PIECE));
    storeBits(row, piece, frame >> taken);
    taken += piece.bits;
  }
}

}  // namespace

std::span<const unsigned char> EbrColumns::get(std::uint64_t ebr) {
  if (ebr < begin || ebr >= end) gather(ebr);
  const std::uint64_t bits = words.getColumnBits(ebr);
  return {columnOf(ebr),
          (bits + FRAME_CONTENT_BITS - 1) / FRAME_CONTENT_BITS * FRAME_CONTENT_BYTES};
}

unsigned char* EbrColumns::columnOf(std::uint64_t ebr) {
  return bytes.data() + (ebr - begin) * stride;
}

void EbrColumns::gather(std::uint64_t ebr) {
  const std::uint64_t tiledEbrs = words.getNumEbrs() / TILE_EBRS * TILE_EBRS;
  const bool isTiled = words.getBitsPerEbr() == 8 && ebr < tiledEbrs;
  begin = isTiled ? ebr / BATCH_EBRS * BATCH_EBRS : ebr;
  end = isTiled ? std::min(begin + BATCH_EBRS, tiledEbrs) : ebr + 1;
  // One cache line more, so that the columns don't all compete for the same places in a cache.
  constexpr std::uint64_t CACHE_LINE = 64;
  stride = words.getLongestColumnBits() / FRAME_CONTENT_BITS * FRAME_CONTENT_BYTES + CACHE_LINE;
  bytes.resize((end - begin) * stride);
  const std::uint64_t rounds = isTiled ? gatherTiles() : 0;
  for (std::uint64_t each = begin; each < end; ++each) {
    ColumnWalk walk(words, each, rounds * words.getBitsPerEbr());
    unsigned char* target = columnOf(each) + rounds;
    for (; walk.getBitsLeft() > 0; target += FRAME_CONTENT_BYTES) {
      storeLittleEndian64(target, readFrame(words.getBytes(), walk));
    }
  }
}

// Gathers whole tiles as far as there are any. Returns how many rounds of dealing that is.
std::uint64_t EbrColumns::gatherTiles() {
  const std::uint64_t numRounds = words.getColumnBits(0) / FRAME_CONTENT_BITS * TILE_ROUNDS;
  for (std::uint64_t round = 0; round < numRounds; round += TILE_ROUNDS) {
    const unsigned char* from = words.getBytes().data() + round * words.getNumEbrs();
    for (std::uint64_t tileEnd = end; tileEnd > begin; tileEnd -= TILE_EBRS) {
      std::array<Row, TILE_ROUNDS> rows;
      for (std::size_t i = 0; i < TILE_ROUNDS; ++i) {
        const std::uint64_t place = i * words.getNumEbrs() + words.getTurn(tileEnd - 1);
        std::memcpy(&rows[i], from + place, sizeof(Row));
        // Rows are too far apart for the processor to foresee the load. The address may lie past
        // the last row, which a prefetch may.
        __builtin_prefetch(from + place + 4 * TILE_ROUNDS * words.getNumEbrs());
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

std::uint64_t columnBitsFrom(std::uint64_t begin, const MemoryWords& words, std::uint64_t ebr) {
  ColumnWalk walk(words, ebr, begin);
  return readFrame(words.getBytes(), walk);
}

void putColumn(MemoryWords& words, std::uint64_t ebr, std::span<const unsigned char> column) {
  ColumnWalk walk(words, ebr, 0);
  for (; walk.getBitsLeft() > 0; column = column.subspan(FRAME_CONTENT_BYTES)) {
    writeFrame(words.getBytes(), walk, loadLittleEndian64(column.data()));
  }
}
