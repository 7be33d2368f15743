#include "steps/ramgraftebr.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>
#include <cstring>
#include <span>

#include "base/assertion.h"
#include "base/bits.h"
#include "console/lines.h"
#include "ebr/format.h"
#include "steps/ramgraftutil.h"

namespace {

// Bits in front of an EBR's CRC field that the CRC covers.
std::int64_t checkedBits(int dataCount) {
  return static_cast<std::int64_t>(FRAME_BITS) * dataCount +
         static_cast<std::int64_t>(CRC_HEADER_BITS);
}

std::uint64_t payloadBits(int dataCount) {
  return FRAME_BITS * static_cast<std::uint64_t>(std::max(dataCount, 0));
}

bool checkPayloadFits(const BitstreamTraverser& traverser, int dataCount) {
  const std::uint64_t needed = payloadBits(dataCount) + CRC_BITS;
  if (needed <= traverser.getBitsLeft()) return true;
  printLine("ERROR: bitstream ends inside the EBR data: frame count ", std::to_string(dataCount),
            ", bits needed for payload and CRC ", std::to_string(needed), ", bits left ",
            std::to_string(traverser.getBitsLeft()), " at bit ",
            std::to_string(traverser.getBitIndex()));
  return false;
}

// The CRC of the `numBits` bits before bit `crcIndex`. The range counts in whole bytes of the
// stream: from the byte that holds the first of its bits but for the first one, which makes no
// difference to a range on a byte boundary.
std::uint16_t computeCrc(const Bitstream& bitstream, std::uint64_t crcIndex, std::int64_t numBits) {
  const std::int64_t start = static_cast<std::int64_t>(crcIndex) - numBits + 1;
  if (start < 0 || numBits < 8) return 0;
  return crc16(bitstream.getBytes() + start / 8, static_cast<std::size_t>(numBits / 8));
}

void writeCrcAtCursor(BitstreamTraverser& traverser, std::int64_t numBits) {
  assertThat(traverser.getBitsLeft() >= CRC_BITS,
             "void writeEbrCrc(BitstreamTraverser&, int, std::list<bool>&)",
             "traverser.getBitsLeft() >= CRC_BITS");
  Bitstream& bitstream = *traverser.getBitstream();
  const std::uint16_t crc = computeCrc(bitstream, traverser.getBitIndex(), numBits);
  for (unsigned bit = CRC_BITS; bit-- > 0; traverser.incrementBitIndex()) {
    bitstream.addBit((crc >> bit & 1) != 0, traverser.getBitIndex());
  }
}

void moveCursor(BitstreamTraverser& traverser, std::uint64_t numBits) {
  if (numBits > 0) traverser.setBitIndex(traverser.getBitIndex() + numBits);
}

std::string toHex16(unsigned value) {
  char text[sizeof "0xFFFF"];
  std::snprintf(text, sizeof text, "0x%04X", value & 0xFFFF);
  return text;
}

// A base file that was damaged, or is cut up wrongly by the wid file, shows in the old CRC. A zero
// field is what tools leave that don't fill it in. Where the CRC's whole bytes reach into its own
// field, not even one that this tool wrote is right afterwards, so nothing can be said.
void warnOfWrongCrc(const BitstreamTraverser& traverser, int dataCount, const std::string& wid) {
  const std::uint64_t crcIndex = traverser.getBitIndex() + payloadBits(dataCount);
  const Bitstream& bitstream = *traverser.getBitstream();
  const auto found = static_cast<std::uint16_t>(bitstream.getWindow(crcIndex) >> (64 - CRC_BITS));
  const bool coversItself = crcIndex % 8 == 7;  // what is checked is a multiple of 8 bits long
  if (found == 0 || coversItself) return;
  const std::uint16_t right = computeCrc(bitstream, crcIndex, checkedBits(dataCount));
  if (found == right) return;
  printWarning("wid ", wid, ": the CRC of the old contents is ", toHex16(found), ", should be ",
               toHex16(right), ": the bitstream may be damaged, or the wid file may not fit it");
}

void warnOfLostWords(std::uint64_t words, std::uint64_t capacity, const std::string& wid) {
  if (words <= capacity) return;
  printWarning("wid ", wid, ": the memory file gives ", std::to_string(words),
               " words of 8 bits, the EBR takes ", std::to_string(capacity),
               ": the rest is not written");
}

constexpr std::uint64_t FRAME_BYTES = FRAME_BITS / 8;

// Stores the payload frame that holds the eight bytes of `contents`:
//
//   bit   0 1      8 9 10    17 ...  54 55    62 63 64     71
//         0 [byte 0] 0 [byte 1] ...   0 [byte 6]  0 [byte 7]
//
// In a word of 64 bits byte k has to move k + 1 bits: each of them one bit, then the second half
// of the word four more, the second quarter of each half two more, and of each quarter the second
// byte one more. The masks hold what stays.
void storeFrame(unsigned char* frame, const unsigned char* contents) {
  const auto moveRest = [](std::uint64_t word, std::uint64_t staying, unsigned count) {
    return (word & staying) | (word & ~staying) >> count;
  };
  std::uint64_t word = loadBigEndian64(contents) >> 1;
  word = moveRest(word, 0x7FFFFFFF80000000, 4);
  word = moveRest(word, 0x7FFF800007FFF800, 2);
  word = moveRest(word, 0x7F801FE007F801FE, 1);
  storeBigEndian64(frame, word);
  frame[8] = contents[7];
}

// Stores two frames at once on a little-endian machine, which takes half the time
// (BM_replaceEbrContents). Each byte of a frame but the last is cut out of a lane of 16 bits that
// holds two bytes of contents, the second without its last bit:
//
//   lane k   [byte k - 1] 0 [byte k ]
//            0          7 8 9      15    byte k of the frame: the eight bits from bit 8 - k on
//
// Multiplying each lane by its own power of two brings those bits to its front.
void storeFramePair(unsigned char* frames, const unsigned char* contents) {
  using Bytes = unsigned char __attribute__((vector_size(16)));
  using Lanes = std::uint16_t __attribute__((vector_size(16)));
  using Words = std::uint64_t __attribute__((vector_size(16)));
  constexpr Lanes POWERS = {256, 128, 64, 32, 16, 8, 4, 2};
  Bytes bytes;
  std::memcpy(&bytes, contents, sizeof bytes);
  const Bytes ends = bytes >> 1;
  const auto starts = std::bit_cast<Bytes>(std::bit_cast<Words>(bytes) << 8);  // one byte further
  const auto first = std::bit_cast<Lanes>(__builtin_shufflevector(
      ends, starts, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23));
  const auto second = std::bit_cast<Lanes>(__builtin_shufflevector(
      ends, starts, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31));
  const auto firstMoved = std::bit_cast<Bytes>(first * POWERS);
  const auto secondMoved = std::bit_cast<Bytes>(second * POWERS);
  const auto words = std::bit_cast<Words>(__builtin_shufflevector(
      firstMoved, secondMoved, 1, 3, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23, 25, 27, 29, 31));
  for (std::size_t i = 0; i < 2; ++i) {
    const std::uint64_t word = words[i];
    std::memcpy(frames + i * FRAME_BYTES, &word, sizeof word);
    frames[i * FRAME_BYTES + 8] = contents[i * FRAME_WORDS + 7];
  }
}

// Stores the frames that hold `contents`, a multiple of eight bytes.
void storeFrames(unsigned char* frames, std::span<const unsigned char> contents) {
  std::size_t at = 0;
  if (std::endian::native == std::endian::little) {
    for (; contents.size() - at >= 2 * FRAME_WORDS; at += 2 * FRAME_WORDS) {
      storeFramePair(frames + at / FRAME_WORDS * FRAME_BYTES, &contents[at]);
    }
  }
  for (; at < contents.size(); at += FRAME_WORDS) {
    storeFrame(frames + at / FRAME_WORDS * FRAME_BYTES, &contents[at]);
  }
}

// Overwrites `numWords` payload words from bit `index` on with a column's bytes and zeros behind
// them.
void overwritePayload(Bitstream& bitstream, std::uint64_t index,
                      std::span<const unsigned char> column, std::uint64_t numWords) {
  constexpr std::uint64_t PIECE_WORDS = 64 * FRAME_WORDS;  // a piece stays in the nearest cache
  std::array<unsigned char, PIECE_WORDS / FRAME_WORDS * FRAME_BYTES> piece;
  for (std::uint64_t begin = 0; begin < numWords; begin += PIECE_WORDS) {
    const std::uint64_t end = std::min(begin + PIECE_WORDS, numWords);
    const std::uint64_t frames = (end - begin + FRAME_WORDS - 1) / FRAME_WORDS;
    const auto contents = column.subspan(std::min(begin, column.size()));
    if (contents.size() < frames * FRAME_WORDS) piece.fill(0);
    storeFrames(piece.data(), contents.first(std::min(contents.size(), frames * FRAME_WORDS)));
    bitstream.overwriteBits(index + begin * WORD_BITS, piece.data(), (end - begin) * WORD_BITS);
  }
}

// Appends the payload bits that a physical line stands for: of every whole block of 20 bits,
// counted from the line's end, its last 9 bits, then the 9 bits before those.
void appendPayload(const std::string& physicalLine, std::vector<bool>& payload) {
  std::vector<unsigned char> bytes;
  const bool isHexadecimal = hexStringToBytes(physicalLine, bytes);
  assertThat(isHexadecimal,
             "bool replaceEbrData(BitstreamTraverser&, std::vector<std::string>, int&, int, int, "
             "int, int, std::list<bool>&)",
             "hexStringToBytes(newData.at(line), bytes)");
  std::vector<bool> bits;
  bytesToBits(bytes, bits);
  for (std::size_t end = bits.size(); end >= COLUMN_BLOCK_LENGTH; end -= COLUMN_BLOCK_LENGTH) {
    for (std::size_t i = end - WORD_BITS; i < end; ++i) payload.push_back(bits[i]);
    for (std::size_t i = end - 2 * WORD_BITS; i < end - WORD_BITS; ++i) payload.push_back(bits[i]);
  }
}

}  // namespace

bool findEbrAddressSection(BitstreamTraverser& traverser, std::list<bool>& newBits) {
  while (traverser.getBitIndex() < traverser.getBitstream()->getNumBits()) {
    if (traverser.findBits(EBR_ADDRESS_OPCODE, newBits) &&
        traverser.expectBits('0', ADDRESS_ZERO_BITS, newBits)) {
      return true;
    }
  }
  return false;
}

bool findEbrDataSection(BitstreamTraverser& traverser, int& dataCount) {
  // Both skips need a bit behind them: what follows, opcode or payload, can't be empty.
  if (traverser.getBitsLeft() <= UNCHECKED_BITS) {
    printLine("ERROR: bitstream ends inside the ", std::to_string(UNCHECKED_BITS),
              " bits behind the EBR identifier, at bit ", std::to_string(traverser.getBitIndex()));
    return false;
  }
  traverser.skipBits(UNCHECKED_BITS);
  if (!traverser.expectBits(TAV_EBR_WRITE_OPCODE)) {
    printLine("ERROR: didn't find TAV_EBR_WRITE");
    return false;
  }
  if (!traverser.expectBits(CRC_DUMMY_BITS)) {
    printLine("ERROR: didn't find CRC/dummy bits after TAV_EBR_WRITE");
    return false;
  }
  if (traverser.getBitsLeft() <= DATA_COUNT_BITS) {
    printLine("ERROR: bitstream ends inside the frame count of TAV_EBR_WRITE, at bit ",
              std::to_string(traverser.getBitIndex()));
    return false;
  }
  std::string count;
  traverser.skipBits(DATA_COUNT_BITS, count);
  dataCount = binaryStringToInt(count);
  return true;
}

bool findEbrDataSection(BitstreamTraverser& traverser, int& dataCount, std::list<bool>& newBits) {
  const std::uint64_t start = traverser.getBitIndex();
  const bool isFound = findEbrDataSection(traverser, dataCount);
  for (std::uint64_t index = start; index < traverser.getBitIndex(); ++index) {
    newBits.push_back(traverser.getBitstream()->getBit(index));
  }
  return isFound;
}

void transformLogInitToPhy(const std::vector<std::string>& memoryLines, int /*addrWidth*/,
                           int dataWidth, int numEbrs, std::vector<std::string>& physicalLines) {
  constexpr char SIGNATURE[] =
      "void transformLogInitToPhy(const std::vector<std::string>&, int, int, int, "
      "std::vector<std::string>&)";
  assertThat(numEbrs >= 1 && dataWidth >= numEbrs, SIGNATURE, "bitsPerEbr >= 1");
  const auto bitsPerEbr = static_cast<std::uint64_t>(dataWidth / numEbrs);
  EbrContents contents(static_cast<std::uint64_t>(numEbrs), bitsPerEbr);
  for (const std::string& line : memoryLines) {
    std::vector<unsigned char> bytes;
    hexStringToBytes(line, bytes);
    assertThat(bytes.size() * 8 % bitsPerEbr == 0, SIGNATURE, "bits.size() % bitsPerEbr == 0");
    contents.appendBytes(bytes);
  }
  EbrColumns columns(contents);
  for (std::uint64_t ebr = 0; ebr < contents.getNumEbrs(); ++ebr) {
    physicalLines.push_back(makePhysicalLine(columns, ebr));
  }
}

// The lines come by value because callers may rely on handing over a copy.
bool replaceEbrData(
    BitstreamTraverser& traverser,
    std::vector<std::string> newData,  // NOLINT(performance-unnecessary-value-param)
    int& startLine, int dataCount, int numEbrs, int /*addrWidth*/, int /*dataWidth*/,
    std::list<bool>& newBits) {
  const int INIT_LINES = static_cast<int>(newData.size() / static_cast<std::size_t>(numEbrs));
  assertThat(
      static_cast<std::size_t>(startLine) + static_cast<std::size_t>(INIT_LINES) <= newData.size(),
      "bool replaceEbrData(BitstreamTraverser&, std::vector<std::string>, int&, int, int, "
      "int, int, std::list<bool>&)",
      "startLine + INIT_LINES <= newData.size()");
  if (!checkPayloadFits(traverser, dataCount)) return false;
  const std::uint64_t crcIndex = traverser.getBitIndex() + payloadBits(dataCount);

  std::vector<bool> payload;
  for (int line = startLine; line < startLine + INIT_LINES; ++line) {
    appendPayload(newData[static_cast<std::size_t>(line)], payload);
  }
  for (std::size_t i = 0; i < payload.size() && traverser.getBitIndex() < crcIndex; ++i) {
    traverser.getBitstream()->addBit(payload[i], traverser.getBitIndex());
    newBits.push_back(payload[i]);
    traverser.incrementBitIndex();
  }
  moveCursor(traverser, crcIndex - traverser.getBitIndex());
  startLine += INIT_LINES;
  writeCrcAtCursor(traverser, checkedBits(dataCount));
  return true;
}

bool replaceEbrContents(BitstreamTraverser& traverser, EbrColumns& columns, std::uint64_t ebr,
                        int dataCount, const std::string& wid) {
  if (!checkPayloadFits(traverser, dataCount)) return false;
  warnOfWrongCrc(traverser, dataCount, wid);

  const std::uint64_t dataBits = columns.getContents().getColumnBits(ebr);
  const std::uint64_t capacity =
      std::min(payloadBits(dataCount) / WORD_BITS, physicalLineWords(dataBits));
  warnOfLostWords((dataBits + 7) / 8, capacity, wid);
  overwritePayload(*traverser.getBitstream(), traverser.getBitIndex(), columns.get(ebr), capacity);
  moveCursor(traverser, payloadBits(dataCount));
  writeCrcAtCursor(traverser, checkedBits(dataCount));
  return true;
}

void writeEbrCrc(BitstreamTraverser& traverser, int numBits, std::list<bool>& /*newBits*/) {
  writeCrcAtCursor(traverser, numBits);
}
