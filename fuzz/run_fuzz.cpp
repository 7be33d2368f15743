// A whole run against the plain one. Input: width file, NUL, memory file, NUL, bitstream.
#include <algorithm>
#include <cstdio>

#include "fixture.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  const std::size_t first = input.find('\0'), second = input.find('\0', first + 1);
  if (second == std::string::npos || first >= second || size > 40000) return 0;
  const RunFiles files = {input.substr(second + 1), input.substr(0, first),
                          input.substr(first + 1, second - first - 1)};
  // The plain run spells 64 KiB for every wid.
  if (std::count(files.wid.begin(), files.wid.end(), '\n') > 150) return 0;
  const std::string difference = compareRuns(files);
  std::fputs(difference.c_str(), stderr);
  require(difference.empty());
  return 0;
}

std::string makeSeed(std::mt19937_64& random) {
  const RunFiles files = randomRun(random);
  return files.wid + '\0' + files.mem + '\0' + files.bit;
}
