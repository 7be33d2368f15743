#include "base/ramgraftbstream.h"

#include <algorithm>
#include <utility>

#include "base/assertion.h"
#include "base/bits.h"
#include "base/digits.h"

namespace {

bool bitOf(const unsigned char* bytes, std::uint64_t bitIndex) {
  return (bytes[bitIndex / 8] >> (7 - bitIndex % 8) & 1) != 0;
}

// Writes `count` 64-bit words of `from` so that their first bit becomes bit `shift` (1 to 7) of the
// byte at `target`:
//
//   from             abcdefgh ...               a word
//   target  ....abcd efgh...                    shift 4: the bits before it come from `kept`
//
// The bits before and after those written keep their values.
void storeShifted(unsigned char* target, unsigned shift, const unsigned char* from,
                  std::uint64_t count) {
  std::uint64_t kept = std::uint64_t{*target} << 56 & ~(UINT64_MAX >> shift);
  for (; count > 0; --count, from += 8, target += 8) {
    const std::uint64_t word = loadBigEndian64(from);
    storeBigEndian64(target, kept | word >> shift);
    kept = word << (64 - shift);
  }
  *target = static_cast<unsigned char>(kept >> 56 | (*target & 0xFFU >> shift));
}

}  // namespace

Bitstream::Bitstream(unsigned long reservedBits) { bytes.reserve((reservedBits + 7) / 8); }

bool Bitstream::getBit(unsigned long bitIndex) const {
  assertThat(bitIndex < numBits, "bool Bitstream::getBit(long unsigned int)",
             "bitIndex >= 0 && bitIndex < getNumBits()");
  return bitOf(bytes.data(), bitIndex);
}

void Bitstream::addBit(bool value, unsigned long bitIndex) {
  assertThat(bitIndex < numBits, "void Bitstream::addBit(bool, long unsigned int)",
             "bitIndex >= 0 && bitIndex < getNumBits()");
  setBit(bitIndex, value);
}

unsigned char Bitstream::getByte(unsigned long byteIndex) const {
  // Compared in bytes, so that the largest index can't wrap around.
  assertThat(byteIndex < getNumBytes(), "unsigned char Bitstream::getByte(long unsigned int)",
             "bitIndex + 7 < getNumBits()");
  return bytes.data()[byteIndex];
}

void Bitstream::pushBit(bool value) {
  if (isByteAligned()) bytes.push(0);
  ++numBits;
  setBit(numBits - 1, value);
  assertThat(numBits < 9223372036854775807L * 2UL + 1UL, "void Bitstream::pushBit(bool)",
             "bits.size() < (9223372036854775807L * 2UL + 1UL)");
}

void Bitstream::pushByte(unsigned char value) {
  for (int bit = 7; bit >= 0; --bit) pushBit((value >> bit & 1) != 0);
}

void Bitstream::pushBytes(ByteBuffer&& added) {
  if (numBits == 0) {
    bytes = std::move(added);
    numBits = bytes.size() * 8;
    return;
  }
  for (std::size_t i = 0; i < added.size(); ++i) pushByte(added.data()[i]);
}

std::uint64_t Bitstream::getWindow(unsigned long bitIndex) const {
  assertThat(bitIndex <= numBits, "uint64_t Bitstream::getWindow(long unsigned int)",
             "bitIndex <= getNumBits()");
  const std::uint64_t byteIndex = bitIndex / 8;
  const unsigned shift = bitIndex % 8;
  unsigned char atEnd[9] = {};
  const unsigned char* from = bytes.data() + byteIndex;
  if (bytes.size() - byteIndex < sizeof atEnd) {
    for (std::uint64_t i = 0; byteIndex + i < bytes.size(); ++i) atEnd[i] = from[i];
    from = atEnd;
  }
  return loadBigEndian64(from) << shift | std::uint64_t{from[8]} >> (8 - shift);
}

void Bitstream::appendDigits(unsigned long begin, unsigned long end, std::string& text) const {
  assertThat(begin <= end && end <= numBits,
             "void Bitstream::appendDigits(long unsigned int, long unsigned int, std::string&)",
             "begin <= end && end <= getNumBits()");
  for (unsigned long index = begin; index < end; ++index) {
    text += binaryDigit(bitOf(bytes.data(), index));
  }
}

void Bitstream::copyBits(unsigned long bitIndex, unsigned char* to, std::uint64_t count) const {
  assertThat(bitIndex <= numBits && count <= numBits - bitIndex,
             "void Bitstream::copyBits(long unsigned int, unsigned char*, uint64_t) const",
             "bitIndex + count <= getNumBits()");
  const unsigned char* from = bytes.data() + bitIndex / 8;
  const unsigned shift = bitIndex % 8;
  std::uint64_t copied = 0;
  if (shift == 0) {
    std::copy_n(from, count / 8, to);
    copied = count / 8 * 8;
  } else {
    for (; count - copied >= 64; copied += 64, from += 8) {
      storeBigEndian64(to + copied / 8, loadBigEndian64(from) << shift | from[8] >> (8 - shift));
    }
  }
  if (copied == count) return;
  const std::uint64_t window = getWindow(bitIndex + copied) & ~(UINT64_MAX >> (count - copied));
  for (unsigned place = 56; copied < count; copied += 8, place -= 8) {
    to[copied / 8] = static_cast<unsigned char>(window >> place);
  }
}

void Bitstream::overwriteBits(unsigned long bitIndex, const unsigned char* from,
                              std::uint64_t count) {
  assertThat(bitIndex <= numBits && count <= numBits - bitIndex,
             "void Bitstream::overwriteBits(long unsigned int, const unsigned char*, uint64_t)",
             "bitIndex + count <= getNumBits()");
  unsigned char* const target = bytes.data() + bitIndex / 8;
  const unsigned shift = bitIndex % 8;
  std::uint64_t written = 0;
  if (shift == 0) {
    std::copy_n(from, count / 8, target);
    written = count / 8 * 8;
  } else if (count >= 64) {
    storeShifted(target, shift, from, count / 64);
    written = count / 64 * 64;
  }
  for (; written < count; ++written) setBit(bitIndex + written, bitOf(from, written));
}

void Bitstream::setBit(std::uint64_t bitIndex, bool value) {
  const unsigned mask = 0x80U >> bitIndex % 8;
  unsigned char& byte = bytes.data()[bitIndex / 8];
  byte = static_cast<unsigned char>(value ? byte | mask : byte & ~mask);
}
