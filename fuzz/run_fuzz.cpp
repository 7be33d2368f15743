// A whole run against the plain one. Input: width file, NUL, memory file, NUL, bitstream.
#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "fixture.h"
#include "fuzz.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  const std::size_t first = input.find('\0');
  const std::size_t second = first == std::string::npos ? first : input.find('\0', first + 1);
  if (second == std::string::npos || size > 8192) return 0;
  const RunFiles files = {input.substr(second + 1), input.substr(0, first),
                          input.substr(first + 1, second - first - 1)};
  // The plain run spells 64 KiB for every wid.
  if (std::count(files.wid.begin(), files.wid.end(), '\n') > 64) return 0;
  const std::string difference = compareRuns(files);
  if (difference.empty()) return 0;
  std::fprintf(stderr, "%s\n", difference.c_str());
  std::abort();
}

std::string makeSeed(std::mt19937_64& random) {
  const RunFiles files = randomRun(random);
  return files.wid + '\0' + files.mem + '\0' + files.bit;
}
