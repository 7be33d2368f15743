// The address opcode ends in a 0, so its last 1 is followed by 37 zero bits. The byte that contains
// this last 1 is therefore followed by three zero bytes, and it can have only eight values, one for
// each position of the 1. (Dots are bits before the opcode, which may be anything.)
//
//   byte before  key byte   zero bytes                   key
//   ........     .1111011   00000000 00000000 00000000   7B or FB
//   ........     11110110   00000000 ...                 F6
//   .......1     11101100   00000000 ...                 EC
//   ......11     11011000                                D8
//   .....111     10110000                                B0
//   ....1111     01100000                                60
//   ...11110     11000000                                C0
//   ..111101     10000000                                80
//
// Vectors find the key bytes before zero bytes; there are few, and the bytes around each decide.
#include "ebr/search.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "base/bits.h"
#include "ebr/format.h"

namespace {

// The opcode up to its last 1, and the zero bits that follow that 1.
constexpr unsigned OPCODE_ZEROS = std::countr_zero(EBR_ADDRESS_OPCODE);
constexpr unsigned CORE = EBR_ADDRESS_OPCODE >> OPCODE_ZEROS;
constexpr unsigned CORE_BITS = OPCODE_BITS - OPCODE_ZEROS;
constexpr unsigned ZEROS_AFTER_CORE = OPCODE_ZEROS + ADDRESS_ZERO_BITS;

constexpr unsigned ZERO_BYTES = 3;  // that certainly follow the key byte
// Bytes after the key byte that can contain bits of the section.
constexpr std::uint64_t REACH = (ZEROS_AFTER_CORE + 7) / 8;
static_assert(ZEROS_AFTER_CORE >= 7 + 8 * ZERO_BYTES && REACH == ZERO_BYTES + 2 && CORE_BITS < 8,
              "the search looks at a key byte, three zero bytes and two bytes after them");

// Sixteen bytes, which GCC and Clang turn into the vector instructions of any processor.
using Vector = unsigned char __attribute__((vector_size(16)));
constexpr std::uint64_t BLOCK_BYTES = 4 * sizeof(Vector);

Vector loadVector(const unsigned char* bytes) {
  Vector vector;
  std::memcpy(&vector, bytes, sizeof vector);
  return vector;
}

Vector isEqual(Vector bytes, unsigned value) {
  return static_cast<Vector>(bytes == static_cast<unsigned char>(value));
}

// 0xFF in place of each of 16 bytes that may be a key byte before zero bytes, and 0 elsewhere.
// Reads from one byte before them. Rarely a false alarm, since each costs a mispredicted branch.
//
// Comparing with all eight keys takes longer than a sum: 1111011 + 101 = 10000000, so adding its
// last 1 and four times that makes a key byte 0, wherever the 1 is. Only 7B gives 0x80. A byte of
// 80 is a key far less often than not, so the bits before it are compared instead.
Vector findKeys(const unsigned char* bytes) {
  static_assert(ZERO_BYTES == 3 && CORE + 5 == 1U << CORE_BITS && CORE_BITS == 7);
  const Vector before = loadVector(bytes - 1);
  const Vector key = loadVector(bytes);
  const Vector after = loadVector(bytes + 1) | loadVector(bytes + 2) | loadVector(bytes + 3);
  const Vector last1 = key & -key;
  const Vector twice = last1 + last1;
  const Vector sum = key + last1 + (twice + twice);
  const Vector is0Or80 = isEqual(key + key, 0);
  const Vector isKey80 = isEqual(before & ((1 << (CORE_BITS - 1)) - 1), CORE >> 1);
  const Vector isOtherKey = (isEqual(sum, 0) | isEqual(key, CORE)) & ~is0Or80;
  return (isOtherKey | isKey80) & isEqual(after, 0);
}

// What findKeys() finds in a block: bytes of 0xFF in place of key bytes before zero bytes.
using BlockMarks = std::array<std::uint64_t, BLOCK_BYTES / 8>;

// Returns false if the block has no such key bytes.
bool markBlock(const unsigned char* bytes, BlockMarks& marks) {
  std::array<Vector, BLOCK_BYTES / sizeof(Vector)> found;
  Vector any = {};
  for (std::size_t i = 0; i < found.size(); ++i) {
    found[i] = findKeys(bytes + i * sizeof(Vector));
    any |= found[i];
  }
  std::array<std::uint64_t, 2> halves;
  std::memcpy(halves.data(), &any, sizeof any);
  if ((halves[0] | halves[1]) == 0) return false;
  std::memcpy(marks.data(), found.data(), sizeof marks);
  return true;
}

// The bit index at which the section begins whose key byte, followed by zero bytes, has the byte
// index `key`; NOT_FOUND if that is no section. The bytes within REACH must be there.
std::uint64_t sectionOfKey(const unsigned char* bytes, std::uint64_t key) {
  const auto zeros = static_cast<unsigned>(std::countr_zero(bytes[key]));
  const unsigned upToKey = bytes[key - 1] * 0x100U + bytes[key];
  const unsigned afterZeros = bytes[key + ZERO_BYTES + 1] * 0x100U + bytes[key + ZERO_BYTES + 2];
  const unsigned zerosLeft = ZEROS_AFTER_CORE - zeros - 8 * ZERO_BYTES;
  const bool isOpcode = (upToKey >> zeros & ((1U << CORE_BITS) - 1)) == CORE;
  if (!isOpcode || afterZeros >> (16 - zerosLeft) != 0) return NOT_FOUND;
  return key * 8 + 8 - zeros - CORE_BITS;
}

// The first section at or after bit `from` among the marked key bytes of the block at byte `begin`.
std::uint64_t firstMarked(const unsigned char* bytes, std::uint64_t begin, const BlockMarks& marks,
                          std::uint64_t from) {
  for (std::uint64_t i = 0; i < marks.size(); ++i) {
    std::uint64_t left = swapUnless(std::endian::little, marks[i]);
    while (left != 0) {
      const auto place = static_cast<unsigned>(std::countr_zero(left)) / 8;
      const std::uint64_t section = sectionOfKey(bytes, begin + i * 8 + place);
      if (section != NOT_FOUND && section >= from) return section;
      left &= ~(UINT64_C(0xFF) << place * 8);
    }
  }
  return NOT_FOUND;
}

// True if a section begins at `index`, also one whose zero bits are cut short by the stream's end.
bool isSection(const Bitstream& bitstream, std::uint64_t index) {
  constexpr std::uint64_t SECTION = std::uint64_t{EBR_ADDRESS_OPCODE} << ADDRESS_ZERO_BITS;
  return bitstream.getWindow(index) >> (64 - IDENTIFIER_OFFSET) == SECTION;
}

}  // namespace

std::uint64_t findAddressSection(const Bitstream& bitstream, std::uint64_t from,
                                 std::uint64_t end) {
  if (bitstream.getNumBits() <= OPCODE_BITS) return NOT_FOUND;
  end = std::min(end, bitstream.getNumBits() - OPCODE_BITS);
  const unsigned char* const bytes = bitstream.getBytes();
  const std::uint64_t numBytes = bitstream.getNumBytes();
  // Blocks are looked at together with the byte before them, so none begins at byte 0. A section
  // whose key is there begins at bit 0 or 1.
  for (std::uint64_t index = from; index < std::min<std::uint64_t>(2, end); ++index) {
    if (isSection(bitstream, index)) return index;
  }
  std::uint64_t begin = std::max<std::uint64_t>(from / 8, 1);
  for (; begin * 8 < end && numBytes - begin >= BLOCK_BYTES + REACH; begin += BLOCK_BYTES) {
    BlockMarks marks;
    if (!markBlock(bytes + begin, marks)) continue;
    const std::uint64_t section = firstMarked(bytes, begin, marks, from);
    if (section != NOT_FOUND) return section < end ? section : NOT_FOUND;
  }
  // Too near to the stream's end for a block. A section's key byte can be the one after its first.
  const std::uint64_t unsearched = begin * 8 - std::min<std::uint64_t>(begin * 8, CORE_BITS - 1);
  for (std::uint64_t index = std::max(from, unsearched); index < end; ++index) {
    if (isSection(bitstream, index)) return index;
  }
  return NOT_FOUND;
}
