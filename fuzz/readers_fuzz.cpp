// The three readers against the standard library's way of reading.
#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "fixture.h"
#include "fuzz.h"
#include "ramgraftfiles.h"

namespace {

const char* const NAME = "/dev/shm/ramgraft-readers-fuzz";

void require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  std::FILE* file = std::fopen(NAME, "wb");
  require(file != nullptr && std::fwrite(data, 1, size, file) == size && std::fclose(file) == 0);
  for (const std::string comments : {"", "#/"}) {
    std::vector<std::string> expected, lines;
    std::istringstream text(input);
    for (std::string line; std::getline(text, line);) {
      if (line.empty() || comments.find(line[0]) != std::string::npos) continue;
      if (line.find('\r') != std::string::npos) line.pop_back();
      expected.push_back(line);
    }
    require(readFileLines(NAME, lines, {comments.begin(), comments.end()}) && lines == expected);
    int addrWidth = 0, dataWidth = 0, widLength = 0;
    outputOf([&] { parseAddrDataWidth(lines.empty() ? "" : lines.back(), addrWidth, dataWidth); });
    if (checkWidLengths(lines)) require(normalizeWids(lines, widLength));
  }
  Bitstream bitstream(0);
  require(readBitFile(NAME, bitstream) && bitstream.getNumBits() == size * 8);
  for (std::size_t i = 0; i < size; ++i) require(bitstream.getByte(i) == data[i]);
  return 0;
}

std::string makeSeed(std::mt19937_64& random) {
  const RunFiles files = randomRun(random);
  return (random() & 1) != 0 ? files.mem + "\n# note\r\n\r\n" : files.wid + "\r";
}
