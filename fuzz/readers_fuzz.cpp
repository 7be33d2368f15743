// The three readers against the standard library's way of reading.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>

#include "fixture.h"
#include "fuzz.h"
#include "ramgraftfiles.h"

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  static const int file = ::memfd_create("input", 0);
  static const std::string name = "/proc/self/fd/" + std::to_string(file);
  require(::ftruncate(file, 0) == 0 && ::pwrite(file, data, size, 0) == static_cast<ssize_t>(size));
  for (const std::string comments : {"", "#/"}) {
    std::vector<std::string> expected, lines;
    std::istringstream text(input);
    for (std::string line; std::getline(text, line);) {
      if (line.empty() || comments.find(line[0]) != std::string::npos) continue;
      if (line.find('\r') != std::string::npos) line.pop_back();
      expected.push_back(line);
    }
    require(readFileLines(name, lines, {comments.begin(), comments.end()}) && lines == expected);
    int addrWidth = 0, dataWidth = 0, widLength = 0;
    outputOf([&] { parseAddrDataWidth(lines.empty() ? "" : lines.back(), addrWidth, dataWidth); });
    if (checkWidLengths(lines)) require(normalizeWids(lines, widLength));
  }
  Bitstream bitstream(0);
  require(readBitFile(name, bitstream) && bitstream.getNumBits() == size * 8);
  for (std::size_t i = 0; i < size; ++i) require(bitstream.getByte(i) == data[i]);
  return 0;
}

std::string makeSeed(std::mt19937_64& random) {
  const RunFiles files = randomRun(random);
  return (random() & 1) != 0 ? files.mem + "\n# note\r\n\r\n" : files.wid + "\r";
}
