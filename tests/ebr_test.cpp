// EBR editing, beyond what whole runs ask of it.
#include <gtest/gtest.h>

#include "fixture.h"
#include "steps/ramgraftebr.h"

namespace {

TEST(Crc, IsThePublishedOneFromAndToAnyByte) {
  std::mt19937_64 random(2);
  std::string stream;
  for (int i = 0; i < 90; ++i) stream += digits(random(), 64);
  const std::string bytes = packDigits(stream) + "123456789";
  for (const char digit : bytes.substr(720)) stream += digits(static_cast<unsigned char>(digit), 8);
  const auto* const data = reinterpret_cast<const unsigned char*>(bytes.data());
  EXPECT_EQ(crc16(data + 720, 9), 0xFEE8);
  for (std::size_t begin = 0; begin <= 720; begin += begin < 20 ? 1 : 50) {
    const std::size_t size = bytes.size() - begin;
    const std::string crc = spellCrc(stream, stream.size(), static_cast<int>(size * 8));
    for (std::size_t split = 0; split <= size; ++split) {
      const std::uint16_t first = crc16(data + begin, split);
      const unsigned whole = crc16(data + begin + split, size - split, first);
      ASSERT_EQ(digits(whole, 16), crc) << split << " of " << size;
    }
  }
}

TEST(Transform, MakesPhysicalLines) {
  const std::vector<std::string> words = {"A5", "3C", "", "f", "F0xx"};
  std::vector<std::string> lines;
  EXPECT_EQ(outputOf([&] { transformLogInitToPhy(words, 0, 8, 2, lines); }),
            "ERROR: character x is not hexadecimal!\n");
  const std::string zeros(16379, '0');
  EXPECT_TRUE(lines == (std::vector{zeros + "01E3A", zeros + "1E0C5"})) << "bytes before the x";
}

}  // namespace
