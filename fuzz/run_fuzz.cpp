// A whole run against the plain one.
#include <algorithm>
#include <cstdio>

#include "fixture.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  RunFiles files;
  if (!splitRun(data, size, files) || size > 40000) return 0;
  // The plain run spells 64 KiB for every wid.
  if (std::count(files.wid.begin(), files.wid.end(), '\n') > 150) return 0;
  const std::string difference = compareRuns(files);
  std::fputs(difference.c_str(), stderr);
  require(difference.empty());
  return 0;
}

std::string makeSeed(std::mt19937_64& random) { return joinRun(randomRun(random)); }
