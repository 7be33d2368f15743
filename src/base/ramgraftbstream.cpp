#include "base/ramgraftbstream.h"

#include <utility>

#include "base/assertion.h"

Bitstream::Bitstream(unsigned long reservedBits) { bits.reserve(reservedBits); }

bool Bitstream::getBit(unsigned long bitIndex) const {
  assertThat(bitIndex < getNumBits(), "bool Bitstream::getBit(long unsigned int)",
             "bitIndex >= 0 && bitIndex < getNumBits()");
  return bits.get(bitIndex);
}

void Bitstream::addBit(bool value, unsigned long bitIndex) {
  assertThat(bitIndex < getNumBits(), "void Bitstream::addBit(bool, long unsigned int)",
             "bitIndex >= 0 && bitIndex < getNumBits()");
  bits.set(bitIndex, value);
}

unsigned char Bitstream::getByte(unsigned long byteIndex) const {
  // Compared in bytes, so that the largest index can't wrap around.
  assertThat(byteIndex < getNumBytes(), "unsigned char Bitstream::getByte(long unsigned int)",
             "bitIndex + 7 < getNumBits()");
  return bits.data()[byteIndex];
}

void Bitstream::pushBit(bool value) {
  bits.pushBack(value);
  assertThat(bits.size() < 9223372036854775807L * 2UL + 1UL, "void Bitstream::pushBit(bool)",
             "bits.size() < (9223372036854775807L * 2UL + 1UL)");
}

void Bitstream::pushByte(unsigned char value) {
  for (int bit = 7; bit >= 0; --bit) pushBit((value >> bit & 1) != 0);
}

void Bitstream::pushBytes(ByteBuffer&& bytes) { bits.append(std::move(bytes)); }

std::uint64_t Bitstream::getWindow(unsigned long bitIndex) const {
  assertThat(bitIndex <= getNumBits(), "uint64_t Bitstream::getWindow(long unsigned int)",
             "bitIndex <= getNumBits()");
  return bits.window(bitIndex);
}

void Bitstream::appendDigits(unsigned long begin, unsigned long end, std::string& text) const {
  assertThat(begin <= end && end <= getNumBits(),
             "void Bitstream::appendDigits(long unsigned int, long unsigned int, std::string&)",
             "begin <= end && end <= getNumBits()");
  std::uint64_t window = 0;
  for (unsigned long index = begin; index < end; ++index, window <<= 1) {
    if ((index - begin) % 64 == 0) window = bits.window(index);
    text += window >> 63 != 0 ? '1' : '0';
  }
}

void Bitstream::overwriteBits(unsigned long bitIndex, const unsigned char* bytes,
                              std::uint64_t numBits) {
  assertThat(bitIndex <= getNumBits() && numBits <= getNumBits() - bitIndex,
             "void Bitstream::overwriteBits(long unsigned int, const unsigned char*, uint64_t)",
             "bitIndex + numBits <= getNumBits()");
  bits.write(bitIndex, bytes, numBits);
}
