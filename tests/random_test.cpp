// Whole runs against the yardstick: everything that a user can observe must be the same.
#include <gtest/gtest.h>

#include <map>

#include "fixture.h"

namespace {

TEST(RandomRuns, LeaveWhatThePlainProcedureLeaves) {
  std::map<int, int> statuses;
  for (std::uint64_t seed = 0; seed < 3000; ++seed) {
    std::mt19937_64 random(seed);
    const RunFiles files = randomRun(random);
    ASSERT_EQ(compareRuns(files), "") << "seed " << seed << "\n" << files.wid << "\n" << files.mem;
    ++statuses[runTool(files).status];
  }
  // The cases are worth their time only while many of them get to the end.
  EXPECT_GT(statuses[0], 500);
  EXPECT_GT(statuses[1], 500);
}

}  // namespace
