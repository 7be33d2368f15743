#include "ebr/crcfield.h"

#include <array>

#include "ebr/crc.h"
#include "ebr/format.h"

namespace {

// Bit index of the range's second bit: the byte that holds it is the first one covered. Negative if
// that bit is before the stream.
std::int64_t startOf(std::uint64_t crcIndex, std::int64_t numBits) {
  return static_cast<std::int64_t>(crcIndex) - numBits + 1;
}

CrcCheck::Verdict judge(std::uint16_t stored, std::uint16_t computed) {
  if (stored == computed) return CrcCheck::Verdict::RIGHT;
  return stored == 0 ? CrcCheck::Verdict::EMPTY : CrcCheck::Verdict::WRONG;
}

}  // namespace

std::uint16_t computeCrc(const Bitstream& bitstream, std::uint64_t crcIndex, std::int64_t numBits) {
  const std::int64_t start = startOf(crcIndex, numBits);
  if (start < 0 || numBits < 8) return 0;
  return crc16(bitstream.getBytes() + start / 8, static_cast<std::size_t>(numBits / 8));
}

void writeCrc(Bitstream& bitstream, std::uint64_t crcIndex, std::int64_t numBits) {
  static_assert(CRC_BITS == 16);
  const unsigned crc = computeCrc(bitstream, crcIndex, numBits);
  const std::array field = {static_cast<unsigned char>(crc >> 8),
                            static_cast<unsigned char>(crc & 0xFF)};
  bitstream.overwriteBits(crcIndex, field.data(), CRC_BITS);
}

std::int64_t crcCoveredBits(std::uint64_t frameCount) {
  return static_cast<std::int64_t>(CRC_HEADER_BITS + FRAME_BITS * frameCount);
}

// The bytes covered reach one bit too far only where the count starts on a byte boundary.
bool coversItself(const EbrCommand& command) {
  const std::int64_t numBits = crcCoveredBits(command.frameCount);
  const std::int64_t start = startOf(command.crcIndex(), numBits);
  return start >= 0 && start % 8 == 0 && numBits % 8 == 0;
}

CrcCheck checkCrc(const Bitstream& bitstream, const EbrCommand& command) {
  const std::int64_t numBits = crcCoveredBits(command.frameCount);
  CrcCheck check;
  check.stored =
      static_cast<std::uint16_t>(bitstream.getWindow(command.crcIndex()) >> (64 - CRC_BITS));
  check.computed = computeCrc(bitstream, command.crcIndex(), numBits);
  check.verdict =
      coversItself(command) ? CrcCheck::Verdict::UNCHECKABLE : judge(check.stored, check.computed);
  return check;
}
