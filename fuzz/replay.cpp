// The main of a fuzz target built without libFuzzer. The last name it prints is that of the input
// at which it ended early.
//   TARGET                        runs seeds of its own making
//   TARGET NUMBER|FILE|FOLDER...  runs seeds of these numbers, and files
//   TARGET --seeds FOLDER         writes seeds for a fuzzer to start from
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "fixture.h"

namespace {

// Names with their inputs: the contents of files, or the seeds of numbers.
using Inputs = std::vector<std::pair<std::string, std::string>>;

void add(const std::string& name, Inputs& inputs) {
  if (std::filesystem::is_directory(name)) {
    for (const auto& entry : std::filesystem::directory_iterator(name)) add(entry.path(), inputs);
  } else if (std::ifstream file(name, std::ios::binary); file.is_open()) {
    inputs.emplace_back(name, std::string(std::istreambuf_iterator<char>(file), {}));
  } else {
    std::mt19937_64 random(std::stoul(name));
    inputs.emplace_back(name, makeSeed(random));
  }
}

}  // namespace

int main(int argc, char* argv[]) {
  Inputs inputs;
  const bool isWriting = argc == 3 && argv[1] == std::string("--seeds");
  // A fuzzer runs all its seeds before it begins.
  const int numSeeds = isWriting ? 300 : argc == 1 ? 3000 : 0;
  for (int i = 0; i < numSeeds; ++i) add(std::to_string(i), inputs);
  for (int i = 1; i < argc && !isWriting; ++i) add(argv[i], inputs);
  require(!inputs.empty());
  for (const auto& [name, input] : inputs) {
    if (isWriting) {
      std::ofstream(argv[2] + ("/seed" + name), std::ios::binary) << input;
    } else {
      std::fprintf(stderr, "\r%s %s ", argv[0], name.c_str());
      LLVMFuzzerTestOneInput(dataOf(input), input.size());
    }
  }
  return 0;
}
