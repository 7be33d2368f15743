// Remembered sections against a search that starts afresh, whatever was overwritten in between.
#include <gtest/gtest.h>

#include "ebr/format.h"
#include "fixture.h"

namespace {

TEST(SectionChain, FindsWhatAFreshSearchFinds) {
  for (std::uint64_t seed = 0; seed < 4000; ++seed) {
    std::mt19937_64 random(seed);
    const std::size_t width = random() % 60;
    const std::vector<std::string> wids = {digits(random(), width), digits(0, width),
                                           digits(0xF600000000000000U >> random() % 8, width)};
    const auto piece = [&] {
      const std::string address = digits(0xF6, 8) + digits(0, 36);
      const std::string pieces[] = {address + wids[random() % 3], address.substr(random() % 44),
                                    address.substr(0, random() % 44), digits(random(), 9)};
      return pieces[random() % 4];
    };
    std::string stream;
    for (std::uint64_t n = random() % 24; n > 0; --n) stream += piece();
    Bitstream bitstream(0);
    pushDigits(bitstream, stream);
    SectionChain sections(bitstream, wids);
    for (int step = 0; step < 12; ++step) {
      const std::string& wid = wids[random() % 3];
      std::uint64_t index = 0, end = 0;
      const Outcome outcome = findAfresh(stream, wid, width, end);
      ASSERT_EQ(sections.find(wid, index), outcome) << "seed " << seed << ": " << stream;
      if (outcome == Outcome::FOUND) {
        ASSERT_EQ(index + IDENTIFIER_OFFSET + width, end) << "seed " << seed << ": " << stream;
      }
      const std::size_t begin = random() % (stream.size() + 1);
      const std::string change = piece().substr(0, stream.size() - begin);
      stream.replace(begin, change.size(), change);
      overwriteBits(bitstream, begin, change);
      sections.bitsChanged(begin, begin + change.size());
    }
  }
}

}  // namespace
