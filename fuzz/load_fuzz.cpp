// Whole runs of ramgraft-load: a map, arguments, one content file and a bitstream. An input is the
// map, NUL, the arguments, NUL, the content file's size in two bytes, that file, the bitstream.
#include <sstream>

#include "design.h"
#include "ebr/walk.h"
#include "firmwarefiles.h"

namespace {

constexpr unsigned NUM_WIDS = 6;

// The EBRs of the width files 0.wid to 5.wid, which have one to three of them.
std::string makeStream(std::mt19937_64& random) {
  std::string stream = digits(0xFF, 8);
  for (unsigned ebr = 0; ebr < NUM_WIDS * 3; ++ebr) {
    stream += ebrDigits(digits(ebr, 9), 1, digits(random(), 36));
  }
  return packDigits(stream);
}

void writeWids() {
  outputOf([] {});  // makes the working folder
  for (unsigned wid = 0; wid < NUM_WIDS; ++wid) {
    std::string text;
    const unsigned numEbrs = 1 + wid % 3;
    for (unsigned i = 0; i < numEbrs; ++i) text += digits(wid * 3 + i, 9) + "\n";
    writeFile(std::to_string(wid) + ".wid", text + "aw3;dw" + std::to_string(numEbrs * 8));
  }
}

// Only payloads and CRC fields of commands may change.
void checkRest(const std::string& before, const std::string& after) {
  require(before.size() == after.size());
  Bitstream bitstream(0);
  for (const char byte : before) bitstream.pushByte(static_cast<unsigned char>(byte));
  const std::string old = unpackBytes(before);
  std::string restored = unpackBytes(after);
  for (const EbrCommand& command : walkCommands(bitstream, 9)) {
    if (command.fault != CommandFault::NONE) continue;
    const std::size_t size = command.payloadBits() + CRC_BITS;
    restored.replace(command.payloadIndex, size, old, command.payloadIndex, size);
  }
  require(restored == old);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool isPrepared = (writeWids(), true);
  require(isPrepared);
  const std::string input(reinterpret_cast<const char*>(data), size);
  const std::size_t first = input.find('\0'), second = input.find('\0', first + 1);
  if (second == std::string::npos || size < second + 3) return 0;
  const std::string map = input.substr(0, first);
  std::istringstream words(input.substr(first + 1, second - first - 1));
  const std::size_t count = data[second + 1] * 256U + data[second + 2];
  if (count > size - second - 3) return 0;
  const std::string stream = input.substr(second + 3 + count);
  writeFile("map.toml", map);
  writeFile("c", input.substr(second + 3, count));
  writeFile("in.bit", stream);
  std::vector<std::string> arguments = {"map.toml", "in.bit"};
  for (std::string word; words >> word;) {
    // Other files would make an input's fate the machine's; standard input has no end.
    const bool isOther = word.starts_with("-o") || word.starts_with("--d") ||
                         word.starts_with("--c") || word == "-" || word.ends_with("=-") ||
                         word.ends_with(":-");
    if (!isOther) arguments.push_back(word);
  }
  for (const std::string& text : {map, input.substr(first, second - first)}) {
    if (text.find_first_of("/\\") != std::string::npos) return 0;
  }
  std::vector<std::string> writing = arguments, checking = arguments;
  writing.insert(writing.begin(), {"-o", "out.bit"});
  checking.insert(checking.begin(), "--check");
  checking[2] = "out.bit";
  if (load(writing).back() != '0') return 0;
  checkRest(stream, contentsOf("out.bit"));
  require(load(checking).back() != '2');
  return 0;
}

std::string makeSeed(std::mt19937_64& random) {
  using Texts = std::vector<std::string>;
  const auto pick = [&](const Texts& from) { return from[random() % from.size()]; };
  std::string text = "version = 1\n[memory.a]\nbase = 0x1000\nwid = ['0.wid', '3.wid']\n";
  text += pick({"words = 16\n", "words = [8, 3]\n"}) + pick({"", "fill = 0x7B\n"});
  text += pick({"", "[memory.b]\nbase = 0x1010\nwords = 4\norder = 'big'\nwid = '1.wid'\n"});
  text += pick({"", "[memory.c]\nwords = 2\nwid = [['2.wid', '4.wid']]\norder = 'little'\n"});
  text += pick({"", "[outside.d]\nbase = 0x20000000\nbytes = 99\n"});
  const std::string content =
      pick({elfFile(false, false), elfFile(true, true),
            hexRecord(0, 0x1000, "some data") + hexRecord(1, 0, ""),
            sRecord(1, 0x1004, "data") + sRecord(9, 0, ""), "12 3F @3 5", "0123456789"});
  text += '\0' + pick({"c", "a=bin:c", "0x1002=bin:c", "a=mem:c", "c+2=c", "elf:c"});
  text += pick({"", " --keep", " --set a=u8:5", " --set main=00 --any-byte-order", " --json"});
  text += '\0';
  text += {static_cast<char>(content.size() / 256), static_cast<char>(content.size() % 256)};
  return text + content + makeStream(random);
}
