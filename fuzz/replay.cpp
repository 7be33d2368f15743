// The main of a fuzz target built without libFuzzer.
//   TARGET              runs seeds of its own making
//   TARGET PATH...      runs files, and all files of folders
//   TARGET --seeds DIR  writes the seeds for a fuzzer to start from
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "fuzz.h"

namespace {

constexpr int SEEDS = 300;

void run(const std::string& input) {
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
}

void runFile(const std::filesystem::path& path) {
  std::ostringstream input;
  input << std::ifstream(path, std::ios::binary).rdbuf();
  run(input.str());
}

}  // namespace

int main(int argc, char* argv[]) {
  const bool isWriting = argc == 3 && std::string(argv[1]) == "--seeds";
  if (argc > 1 && !isWriting) {
    for (int i = 1; i < argc; ++i) {
      const std::filesystem::path path = std::filesystem::absolute(argv[i]);
      if (!std::filesystem::is_directory(path))
        runFile(path);
      else
        for (const auto& entry : std::filesystem::directory_iterator(path)) runFile(entry);
    }
    return 0;
  }
  std::mt19937_64 random(1);
  for (int i = 0; i < SEEDS; ++i) {
    const std::string seed = makeSeed(random);
    if (isWriting)
      std::ofstream(std::string(argv[2]) + "/seed" + std::to_string(i)) << seed;
    else
      run(seed);
  }
}
