// The main of a fuzz target built without libFuzzer.
//   TARGET                        runs seeds of its own making
//   TARGET NUMBER|FILE|FOLDER...  runs seeds of these numbers, and files
//   TARGET --seeds FOLDER         writes seeds for a fuzzer to start from
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "fixture.h"

namespace {

void addNames(const std::string& name, std::vector<std::string>& names) {
  if (!std::filesystem::is_directory(name)) return names.push_back(name);
  for (const auto& entry : std::filesystem::directory_iterator(name)) names.push_back(entry.path());
}

// The contents of a file, or the seed of a number.
std::string inputOf(const std::string& name) {
  std::ifstream file(name, std::ios::binary);
  if (file.is_open()) return {std::istreambuf_iterator<char>(file), {}};
  std::mt19937_64 random(std::stoul(name));
  return makeSeed(random);
}

[[noreturn]] void runAll(const std::vector<std::string>& inputs, int report) {
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    require(::write(report, &i, sizeof i) == sizeof i);
    LLVMFuzzerTestOneInput(dataOf(inputs[i]), inputs[i].size());
  }
  std::exit(0);
}

// Writes fewer seeds than are run here, because a fuzzer runs them all before it begins.
int writeSeeds(const std::string& folder) {
  for (int i = 0; i < 300; ++i) {
    const std::string number = std::to_string(i);
    std::ofstream(std::filesystem::path(folder) / ("seed" + number), std::ios::binary)
        << inputOf(number);
  }
  return 0;
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc == 3 && argv[1] == std::string("--seeds")) return writeSeeds(argv[2]);
  std::vector<std::string> names, inputs;
  for (int i = 0; argc == 1 && i < 3000; ++i) names.push_back(std::to_string(i));
  for (int i = 1; i < argc; ++i) addNames(argv[i], names);
  for (const std::string& name : names) inputs.push_back(inputOf(name));

  // Another process runs them, so that the input at which it ends early can be named.
  int ends[] = {-1, -1}, status = 0;
  require(!inputs.empty() && ::pipe2(ends, O_CLOEXEC) == 0);
  const pid_t runner = ::fork();
  if (runner == 0) runAll(inputs, ends[1]);
  ::close(ends[1]);
  std::size_t last = 0;
  while (::read(ends[0], &last, sizeof last) == sizeof last) continue;
  ::waitpid(runner, &status, 0);
  if (status != 0) std::fprintf(stderr, "To run it again: %s %s\n", argv[0], names[last].c_str());
  return status == 0 ? 0 : 1;
}
