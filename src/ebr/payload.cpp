#include "ebr/payload.h"

#include <algorithm>
#include <array>
#include <bit>

#include "base/bits.h"
#include "ebr/format.h"

namespace {

constexpr std::uint64_t FRAME_CONTENT_BYTES = FRAME_PAYLOAD_WORDS;
constexpr std::uint64_t PAYLOAD_FRAME_BYTES = FRAME_BITS / 8;
static_assert(FRAME_CONTENT_BYTES == sizeof(std::uint64_t) && PAYLOAD_WORD_BITS == 9,
              "storeFrame() moves eight bytes in a 64-bit number");

// Stores the payload frame that holds the eight bytes of `contents`:
//
//   bit   0 1      8 9 10    17 ...  54 55    62 63 64     71
//         0 [byte 0] 0 [byte 1] ...   0 [byte 6]  0 [byte 7]
//
// As a 64-bit number, byte k has to move k + 1 bits: all bytes move one bit; then the second half
// of the number four more; the second quarter of each half two more; and the second byte of each
// quarter one more. Each mask selects the bits that stay.
constexpr std::uint64_t FIRST_HALF = 0x7FFFFFFF80000000;
constexpr std::uint64_t FIRST_QUARTERS = 0x7FFF800007FFF800;
constexpr std::uint64_t FIRST_BYTES = 0x7F801FE007F801FE;
constexpr std::uint64_t NINTH_BITS = 0x8040201008040201;

void storeFrame(unsigned char* frame, const unsigned char* contents) {
  const auto moveRest = [](std::uint64_t number, std::uint64_t staying, unsigned count) {
    return (number & staying) | (number & ~staying) >> count;
  };
  std::uint64_t number = loadBigEndian64(contents) >> 1;
  number = moveRest(number, FIRST_HALF, 4);
  number = moveRest(number, FIRST_QUARTERS, 2);
  number = moveRest(number, FIRST_BYTES, 1);
  storeBigEndian64(frame, number);
  frame[8] = contents[7];
}

// Loads the eight bytes of a frame that storeFrame() stored: the same moves backwards. Returns the
// frame's ninth bits, each in its own place.
std::uint64_t loadFrame(const unsigned char* frame, unsigned char* contents) {
  const auto moveRestBack = [](std::uint64_t number, std::uint64_t staying, unsigned count) {
    return (number & staying) | (number & ~staying) << count;
  };
  const std::uint64_t stored = loadBigEndian64(frame);
  std::uint64_t number = moveRestBack(stored & ~NINTH_BITS, FIRST_BYTES, 1);
  number = moveRestBack(number, FIRST_QUARTERS, 2);
  number = moveRestBack(number, FIRST_HALF, 4);
  storeBigEndian64(contents, number << 1);
  contents[7] = frame[8];
  return stored & NINTH_BITS;
}

constexpr std::uint64_t PIECE_FRAMES = 64;  // a piece stays in the nearest cache
constexpr std::uint64_t PIECE_WORDS = PIECE_FRAMES * FRAME_PAYLOAD_WORDS;
using Piece = std::array<unsigned char, PIECE_FRAMES * PAYLOAD_FRAME_BYTES>;

}  // namespace

void writePayload(Bitstream& bitstream, std::uint64_t index, std::span<const unsigned char> column,
                  std::uint64_t numWords) {
  Piece piece;
  for (std::uint64_t begin = 0; begin < numWords; begin += PIECE_WORDS) {
    const std::uint64_t words = std::min(PIECE_WORDS, numWords - begin);
    const std::span<const unsigned char> rest = column.subspan(std::min(begin, column.size()));
    const auto contents = rest.first(std::min<std::size_t>(rest.size(), PIECE_WORDS));
    if (contents.size() < words) piece.fill(0);
    for (std::size_t at = 0; at < contents.size(); at += FRAME_CONTENT_BYTES) {
      storeFrame(&piece[at / FRAME_CONTENT_BYTES * PAYLOAD_FRAME_BYTES], &contents[at]);
    }
    bitstream.overwriteBits(index + begin * PAYLOAD_WORD_BITS, piece.data(),
                            words * PAYLOAD_WORD_BITS);
  }
}

std::uint64_t readPayload(const Bitstream& bitstream, std::uint64_t index,
                          std::span<unsigned char> contents) {
  Piece piece;
  std::uint64_t ninthBits = 0;
  for (std::uint64_t begin = 0; begin < contents.size(); begin += PIECE_WORDS) {
    const std::uint64_t words = std::min(PIECE_WORDS, contents.size() - begin);
    if (words % FRAME_PAYLOAD_WORDS != 0) piece.fill(0);
    bitstream.copyBits(index + begin * PAYLOAD_WORD_BITS, piece.data(), words * PAYLOAD_WORD_BITS);
    for (std::uint64_t at = 0; at < words; at += FRAME_CONTENT_BYTES) {
      std::array<unsigned char, FRAME_CONTENT_BYTES> bytes;
      const unsigned char* frame = &piece[at / FRAME_CONTENT_BYTES * PAYLOAD_FRAME_BYTES];
      const std::uint64_t set = loadFrame(frame, bytes.data());
      std::copy_n(bytes.begin(), std::min(FRAME_CONTENT_BYTES, words - at), &contents[begin + at]);
      // Rarely any: counting them is a call on processors that can't.
      if (set != 0) ninthBits += static_cast<std::uint64_t>(std::popcount(set));
    }
  }
  return ninthBits;
}
