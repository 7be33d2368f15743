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
    Bitstream bitstream(0);
    for (std::uint64_t n = random() % 24; n > 0; --n) pushDigits(bitstream, piece());
    SectionChain sections(bitstream, wids);
    for (int step = 0; step < 12; ++step) {
      const std::string& wid = wids[random() % 3];
      BitstreamTraverser traverser(&bitstream);
      std::list<bool> newBits;
      std::uint64_t index = 0, restart = 0;
      const Outcome outcome = findAfresh(traverser, wid, width, newBits, restart);
      ASSERT_EQ(sections.find(wid, index), outcome) << seed << " " << digitsOf(bitstream);
      if (outcome == Outcome::FOUND) {
        ASSERT_EQ(index + IDENTIFIER_OFFSET + width, traverser.getBitIndex()) << seed;
      }
      const std::size_t begin = random() % (bitstream.getNumBits() + 1);
      const std::string change = piece().substr(0, bitstream.getNumBits() - begin);
      for (std::size_t i = 0; i < change.size(); ++i) bitstream.addBit(change[i] == '1', begin + i);
      sections.bitsChanged(begin, begin + change.size());
    }
  }
}

}  // namespace
