// Reading the input files and writing the output, in a temporary folder.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include "base/assertion.h"
#include "data.h"
#include "files/read.h"
#include "files/replace.h"
#include "inputs/loading.h"

namespace {

// A folder that goes, with all in it, at the end of a benchmark.
class TemporaryFolder {
 public:
  TemporaryFolder() : path((std::filesystem::temp_directory_path() / "ramgraft-XXXXXX").string()) {
    assertThat(::mkdtemp(path.data()) != nullptr, "TemporaryFolder", "mkdtemp(path)");
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  TemporaryFolder(TemporaryFolder&&) = delete;
  TemporaryFolder& operator=(TemporaryFolder&&) = delete;
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }

  std::string nameOf(const char* file) const { return path + "/" + file; }

  // Makes a file and returns its name.
  std::string put(const char* file, const unsigned char* bytes, std::size_t size) const {
    std::string name = nameOf(file);
    assertThat(replaceFile(name, bytes, size, {}).isDone(), "TemporaryFolder", "replaceFile(name)");
    return name;
  }
  std::string put(const char* file, std::string_view text) const {
    return put(file, reinterpret_cast<const unsigned char*>(text.data()), text.size());
  }

 private:
  std::string path;
};

// Bytes of the bitstream, the argument of all benchmarks here. Time spent waiting counts.
void streamSizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->RangeMultiplier(16)->Range(64 << 10, 256 << 20)->UseRealTime();
}

ByteBuffer makeStream(const benchmark::State& state) {
  return makeConfiguration(static_cast<std::size_t>(state.range(0)), Fill::SPARSE);
}

void BM_loadInputs(benchmark::State& state) {
  const TemporaryFolder folder;
  const ByteBuffer stream = makeStream(state);
  const InputNames names = {folder.put("in.bit", stream.data(), stream.size()),
                            folder.put("ram.wid", "0b000000001\n0b000000010\naw11;dw16\n"),
                            folder.put("firmware.mem", makeMemoryText(10000, 16))};
  for ([[maybe_unused]] auto _ : state) {
    MemoryInputs inputs;
    Bitstream bitstream(0);
    FileIdentity identity;
    const bool isLoaded =
        loadMemoryInputs(names, inputs).kind == InputFault::Kind::NONE &&
        loadBitstream(names.bit, bitstream, identity).kind == InputFault::Kind::NONE;
    assertThat(isLoaded && bitstream.getNumBytes() == stream.size(), "BM_loadInputs",
               "bitstream.getNumBytes() == stream.size()");
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_loadInputs)->Apply(streamSizes);

// Makes every large allocation come from the system and not from what was freed before: a run has
// nothing to reuse.
void takeFreshMemory() {
  constexpr int LARGE = 128 << 10;
  assertThat(::mallopt(M_MMAP_THRESHOLD, LARGE) == 1, "takeFreshMemory", "mallopt(LARGE)");
}

void BM_readWholeFile(benchmark::State& state) {
  takeFreshMemory();
  const TemporaryFolder folder;
  const ByteBuffer stream = makeStream(state);
  const std::string bitFile = folder.put("in.bit", stream.data(), stream.size());
  for ([[maybe_unused]] auto _ : state) {
    ByteBuffer bytes;
    const ReadResult result = readWholeFile(bitFile, bytes);
    assertThat(result.outcome == ReadResult::Outcome::DONE && bytes.size() == stream.size(),
               "BM_readWholeFile", "bytes.size() == stream.size()");
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_readWholeFile)->Apply(streamSizes);

void BM_replaceFile(benchmark::State& state, bool isOldThere) {
  const TemporaryFolder folder;
  const ByteBuffer stream = makeStream(state);
  const std::string outFile = folder.nameOf("out.bit");
  if (isOldThere) folder.put("out.bit", stream.data(), stream.size());
  for ([[maybe_unused]] auto _ : state) {
    const bool isDone = replaceFile(outFile, stream.data(), stream.size(), {}).isDone();
    assertThat(isDone, "BM_replaceFile", "isDone");
    if (isOldThere) continue;
    state.PauseTiming();
    std::filesystem::remove(outFile);
    state.ResumeTiming();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK_CAPTURE(BM_replaceFile, new, false)->Apply(streamSizes);
BENCHMARK_CAPTURE(BM_replaceFile, over, true)->Apply(streamSizes);

}  // namespace
