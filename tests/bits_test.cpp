// Bitstream, its byte view and its 64-bit windows, and the CRC over its bytes.
#include <gtest/gtest.h>

#include "fixture.h"
#include "ramgraftcrc.h"

namespace {

TEST(Bitstream, HoldsBitsInFileOrder) {
  Bitstream bitstream(0);
  EXPECT_TRUE(bitstream.isByteAligned());
  bitstream.pushByte(0xA5);
  pushDigits(bitstream, "0111");
  EXPECT_EQ(digitsOf(bitstream), "101001010111");
  EXPECT_FALSE(bitstream.isByteAligned());
  EXPECT_EQ(bitstream.getNumBytes(), 1U);
  EXPECT_EQ(bitstream.getByte(0), 0xA5);
  bitstream.addBit(true, 1);
  bitstream.addBit(false, 11);
  EXPECT_EQ(digitsOf(bitstream), "111001010110");
  ByteBuffer more;  // behind a part of a byte it has to be copied bit by bit
  more.push(0x81);
  bitstream.pushBytes(std::move(more));
  EXPECT_EQ(digitsOf(bitstream), "11100101011010000001");
}

TEST(Bitstream, ReadsAndOverwritesRunsOfBitsAtAnyPlace) {
  std::mt19937_64 random(1);
  std::string expected = digits(random(), 64) + digits(random(), 64) + digits(random(), 63);
  Bitstream bitstream(0);
  pushDigits(bitstream, expected);
  for (unsigned index = 0; index <= expected.size(); ++index) {
    for (unsigned count = 0; count <= std::min<std::size_t>(80, expected.size() - index); ++count) {
      const std::string bits = digits(random(), 64) + digits(random(), 16);
      const std::string bytes = packDigits(bits);
      bitstream.overwriteBits(index, reinterpret_cast<const unsigned char*>(bytes.data()), count);
      expected.replace(index, count, bits, 0, count);
    }
    ASSERT_EQ(digitsOf(bitstream), expected) << index;
    const std::string window = (expected + std::string(64, '0')).substr(index, 64);
    ASSERT_EQ(digits(bitstream.getWindow(index), 64), window) << index;
  }
}

TEST(Crc, IsThePublishedOneAtEverySplitPoint) {
  const auto* check = reinterpret_cast<const unsigned char*>("123456789");
  EXPECT_EQ(crc16(check, 9), 0xFEE8);
  std::mt19937_64 random(2);
  std::vector<unsigned char> bytes(100);
  unsigned plain = 0;
  for (unsigned char& byte : bytes) {
    byte = static_cast<unsigned char>(random());
    plain ^= static_cast<unsigned>(byte) << 8;
    for (int i = 0; i < 8; ++i) plain = (plain << 1 ^ (plain & 0x8000 ? 0x8005 : 0)) & 0xFFFF;
  }
  for (std::size_t split = 0; split <= bytes.size(); ++split) {
    const std::uint16_t first = crc16(bytes.data(), split);
    EXPECT_EQ(crc16(bytes.data() + split, bytes.size() - split, first), plain) << split;
  }
}

}  // namespace
