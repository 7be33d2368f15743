// All subcommands of ramgraft-inspect on a run's files and output. Input as for run_fuzz.cpp: width
// file, NUL, memory file, NUL, bitstream.
#include <algorithm>
#include <cstdio>

#include "inspected.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  const std::size_t first = input.find('\0'), second = input.find('\0', first + 1);
  if (second == std::string::npos || first >= second) return 0;
  const std::string broken = brokenLaw({input.substr(second + 1), input.substr(0, first),
                                        input.substr(first + 1, second - first - 1)});
  std::fputs(broken.c_str(), stderr);
  require(broken.empty());
  return 0;
}

std::string makeSeed(std::mt19937_64& random) {
  const RunFiles files = randomRun(random);
  return files.wid + '\0' + files.mem + '\0' + files.bit;
}
