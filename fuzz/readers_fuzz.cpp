// The three readers against the standard library's way of reading.
#include <sstream>

#include "fixture.h"
#include "steps/ramgraftfiles.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  runTool({input, input, input});  // leaves the files
  for (const std::string comments : {"", "#/"}) {
    std::vector<std::string> expected, lines;
    std::istringstream text(input);
    for (std::string line; std::getline(text, line);) {
      if (line.empty() || comments.find(line[0]) != std::string::npos) continue;
      if (line.find('\r') != std::string::npos) line.pop_back();
      expected.push_back(line);
    }
    require(readFileLines("words.mem", lines, {comments.begin(), comments.end()}));
    require(lines == expected);
  }
  Bitstream bitstream(0);
  require(readBitFile("in.bit", bitstream) && readBitFile("in.bit", bitstream));
  require(packDigits(digitsOf(bitstream)) == input + input);
  bitstream.pushBit(true);  // after a part of a byte, bytes are copied bit by bit
  require(readBitFile("in.bit", bitstream));
  const std::string text = digitsOf(bitstream);
  require(text.substr(size * 16) == "1" + text.substr(0, size * 8));
  for (std::size_t i = 0; i < size; ++i) require(bitstream.getByte(i) == data[i]);
  return 0;
}

std::string makeSeed(std::mt19937_64& random) {
  const RunFiles files = randomRun(random);
  std::string seed = (random() & 1) != 0 ? files.mem + "\n# note\r\n\r\n1\r2" : files.wid + "\r";
  if (random() % 100 == 0) {  // more than is read at a time, now and then in one line
    seed += '\n' + std::string(random() % 70'000, 'A');
    while (seed.size() < 200'000) seed += seed;
  }
  return seed;
}
