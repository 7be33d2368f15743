// Remembered sections against a search that starts afresh, whatever was overwritten in between.
#include <gtest/gtest.h>

#include "fixture.h"
#include "ramgraftsections.h"

namespace {

using Outcome = EbrSectionMap::Outcome;

std::pair<Outcome, std::size_t> findAfresh(const std::string& stream, const std::string& wid) {
  for (std::size_t at = 0;;) {
    at = stream.find("11110110", at);
    if (at == std::string::npos || stream.size() - at <= 8) return {Outcome::NO_SECTION, 0};
    const std::string zeros = stream.substr(at + 8, 36);
    at += 8;
    if (zeros.find('1') != std::string::npos) continue;
    at += zeros.size();
    if (stream.size() - at < std::max<std::size_t>(2, wid.size() + 1)) {
      return {Outcome::RAN_OFF_END, 0};
    }
    if (stream.compare(at, wid.size(), wid) == 0) return {Outcome::FOUND, at};
    at += wid.size();
  }
}

TEST(EbrSectionMap, FindsWhatAFreshSearchFinds) {
  for (std::uint64_t seed = 0; seed < 4000; ++seed) {
    std::mt19937_64 random(seed);
    const auto width = static_cast<unsigned>(random() % 60);
    const std::vector<std::string> wids = {digits(random(), width), digits(0, width),
                                           digits(0xF600000000000000U >> random() % 8, width)};
    const auto piece = [&] {
      const std::string address = digits(0xF6, 8) + std::string(36, '0');
      const std::string pieces[] = {address + wids[random() % 3], address.substr(random() % 44),
                                    address.substr(0, random() % 44), digits(random(), 9)};
      return pieces[random() % 4];
    };
    std::string stream;
    for (std::uint64_t n = random() % 24; n > 0; --n) stream += piece();
    Bitstream bitstream(0);
    pushDigits(bitstream, stream);
    EbrSectionMap sections(bitstream, wids);
    for (int step = 0; step < 12; ++step) {
      const std::string& wid = wids[random() % 3];
      std::uint64_t index = 0;
      const Outcome outcome = sections.find(wid, index);
      ASSERT_EQ(std::pair(outcome, index), findAfresh(stream, wid)) << seed << " " << stream;
      const std::size_t begin = random() % (stream.size() + 1);
      const std::string change = piece().substr(0, stream.size() - begin);
      stream.replace(begin, change.size(), change);
      for (std::size_t i = 0; i < change.size(); ++i) {
        bitstream.addBit(change[i] == '1', begin + i);
      }
      sections.bitsChanged(begin, begin + change.size());
    }
  }
}

}  // namespace
