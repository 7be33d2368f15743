// The main of a fuzz target built without libFuzzer.
//   TARGET              runs seeds of its own making
//   TARGET DIR          runs all files of a folder
//   TARGET --seeds DIR  writes the seeds for a fuzzer to start from
#include <filesystem>
#include <fstream>

#include "fixture.h"

int main(int argc, char* argv[]) {
  std::mt19937_64 random(1);
  // Fewer to write, because a fuzzer runs them all before it begins.
  std::vector<std::string> inputs(argc == 1 ? 2000 : argc == 3 ? 300 : 0);
  for (std::string& input : inputs) input = makeSeed(random);
  if (argc == 2) {
    for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
      std::ifstream file(entry.path(), std::ios::binary);
      inputs.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
  }
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    if (argc == 3) {
      std::ofstream(std::string(argv[2]) + "/seed" + std::to_string(i)) << inputs[i];
    } else {
      LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(inputs[i].data()),
                             inputs[i].size());
    }
  }
}
