// locate of two memories, with and without a map. An input is a byte with the bits of a word for
// each memory (0: those of its digits), two files of text words, each followed by NUL, and the
// bitstream.
#include <filesystem>
#include <fstream>

#include "deepdesign.h"
#include "inputs/wordtext.h"
#include "inspected.h"

namespace {

void write(const std::string& name, const std::string& text) {
  std::ofstream(name, std::ios::binary) << text;
}

std::vector<unsigned char> wordsIn(const std::string& text, std::uint64_t wordBits) {
  std::vector<unsigned char> bytes;
  const auto add = [&](const WordRun& run) {
    bytes.insert(bytes.end(), run.bytes.begin(), run.bytes.end());
    return std::string();
  };
  require(readWordText(text, wordBits, std::endian::big, add).text.empty());
  return bytes;
}

// What was located must be what the files have, under a map that fits the bitstream, and another
// look must change nothing.
void checkLocated(std::vector<const char*> arguments, const std::string& text,
                  std::uint64_t wordBits) {
  const std::string dump = inspect({"dump", "--words", "m.toml", "in.bit", "a"});
  require(dump.back() == '0');
  require(wordsIn(dump.substr(0, dump.size() - 1), wordBits) == wordsIn(text, wordBits));
  const std::string map = contentsOf("m.toml");
  arguments.push_back("--update");
  require(inspect(arguments).back() == '0' && contentsOf("m.toml") == map);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  const std::size_t first = input.find('\0', 2), second = input.find('\0', first + 1);
  if (size < 2 || first == input.npos || second == input.npos) return 0;
  outputOf([] {});  // makes the working folder
  const std::string words = input.substr(2, first - 2);
  write("a.mem", words);
  write("b.mem", input.substr(first + 1, second - first - 1));
  write("in.bit", input.substr(second + 1));
  for (const auto& entry : std::filesystem::directory_iterator(".")) {
    if (entry.path().extension() != ".mem" && entry.path() != "./in.bit") {
      std::filesystem::remove(entry.path());
    }
  }
  const std::string a = "--data-width=a=" + std::to_string(data[0]);
  const std::string b = "--data-width=b=" + std::to_string(data[1]);
  std::vector<const char*> arguments = {"locate", "--id-bits=12", "--map",  "m.toml",
                                        "in.bit", "a=a.mem",      "b=b.mem"};
  if (data[0] != 0) arguments.push_back(a.c_str());
  if (data[1] != 0) arguments.push_back(b.c_str());
  if (inspect(arguments).back() == '0') {
    checkLocated(arguments, words, data[0]);
  } else {
    require(!std::filesystem::exists("m.toml") && !std::filesystem::exists("a.wid"));
  }
  const std::string alone = inspect({"locate", "-o", "alone.wid", "in.bit", "a.mem"});
  const bool isWritten =
      std::filesystem::exists("alone.wid") || std::filesystem::exists("alone-0.wid");
  require((alone.back() == '0') == isWritten);
  return 0;
}

std::string makeSeed(std::mt19937_64& random) {
  std::vector<Deep> memories;
  for (std::size_t i = 0; i < 2; ++i) memories.push_back(makeDeep(random, i, true));
  std::string stream;
  placeAll(random, memories, stream);
  std::string text;
  for (const Deep& deep : memories) text += static_cast<char>(deep.wordBits());
  if (random() % 4 == 0) memories[1].words.back()[0] = '0';
  for (const Deep& deep : memories) text += spellMem(deep) + '\0';
  return text + packDigits(stream);
}
