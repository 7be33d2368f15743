// All subcommands of ramgraft-inspect on a run's files and output.
#include <cstdio>

#include "inspected.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  RunFiles files;
  if (!splitRun(data, size, files)) return 0;
  const std::string broken = brokenLaw(files);
  std::fputs(broken.c_str(), stderr);
  require(broken.empty());
  return 0;
}

std::string makeSeed(std::mt19937_64& random) { return joinRun(randomRun(random)); }
