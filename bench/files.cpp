// Reading the input files and writing the output, in a temporary folder.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <malloc.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "base/assertion.h"
#include "data.h"
#include "ebr/search.h"
#include "files/read.h"
#include "files/replace.h"
#include "steps/ramgraftfiles.h"

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
    assertThat(replaceFile(name, bytes, size, {}) == 0, "TemporaryFolder", "replaceFile(name)");
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

void BM_loadRunInputs(benchmark::State& state) {
  const TemporaryFolder folder;
  const ByteBuffer stream = makeStream(state);
  const std::string bitFile = folder.put("in.bit", stream.data(), stream.size());
  const std::string widFile = folder.put("ram.wid", "0b000000001\n0b000000010\naw11;dw16\n");
  const std::string memFile = folder.put("firmware.mem", makeMemoryText(10000, 16));
  for ([[maybe_unused]] auto _ : state) {
    RunInputs inputs;
    Bitstream bitstream(0);
    const bool isLoaded = loadRunInputs(widFile, memFile, bitFile, inputs, bitstream);
    assertThat(isLoaded && bitstream.getNumBytes() == stream.size(), "BM_loadRunInputs",
               "bitstream.getNumBytes() == stream.size()");
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_loadRunInputs)->Apply(streamSizes);

using ReadFile = bool (*)(const std::string& fileName, ByteBuffer& bytes);

bool copyFile(const std::string& fileName, ByteBuffer& bytes) {
  return readWholeFile(fileName, bytes).outcome == ReadResult::Outcome::DONE;
}

bool mapFile(const std::string& fileName, ByteBuffer& bytes) {
  const FileDescriptor file(::open(fileName.c_str(), O_RDONLY | O_CLOEXEC));
  return bytes.map(file.get(), std::filesystem::file_size(fileName));
}

// Makes every large allocation come from the system and not from what was freed before: a run has
// nothing to reuse.
void takeFreshMemory() {
  constexpr int LARGE = 128 << 10;
  assertThat(::mallopt(M_MMAP_THRESHOLD, LARGE) == 1, "takeFreshMemory", "mallopt(LARGE)");
}

void BM_readFile(benchmark::State& state, ReadFile readFile) {
  takeFreshMemory();
  const TemporaryFolder folder;
  const ByteBuffer stream = makeStream(state);
  const std::string bitFile = folder.put("in.bit", stream.data(), stream.size());
  for ([[maybe_unused]] auto _ : state) {
    ByteBuffer bytes;
    assertThat(readFile(bitFile, bytes) && bytes.size() == stream.size(), "BM_readFile",
               "bytes.size() == stream.size()");
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK_CAPTURE(BM_readFile, mapped, mapFile)->Apply(streamSizes);
BENCHMARK_CAPTURE(BM_readFile, copied, copyFile)->Apply(streamSizes);

// What a run does with every byte of a stream: read it, search it, write it to a new file. Shows
// what mapping the input is worth to a run, and what it costs where contents are overwritten.
// Arguments: bytes of the stream, how many in a hundred of its pages change.
void BM_loadSearchWrite(benchmark::State& state, ReadFile readFile) {
  constexpr std::size_t PAGE = 4096;
  takeFreshMemory();
  const TemporaryFolder folder;
  std::string bitFile;
  {
    const ByteBuffer stream = makeStream(state);
    bitFile = folder.put("in.bit", stream.data(), stream.size());
  }
  const std::string outFile = folder.nameOf("out.bit");
  for ([[maybe_unused]] auto _ : state) {
    {
      ByteBuffer bytes;
      static_cast<void>(readFile(bitFile, bytes));
      const auto changed = static_cast<std::size_t>(state.range(0) * state.range(1) / 100);
      for (std::size_t at = 0; at < changed; at += PAGE) bytes.data()[at] = 0xFF;
      Bitstream bitstream(0);
      bitstream.pushBytes(std::move(bytes));
      benchmark::DoNotOptimize(findAddressSection(bitstream, 0, NOT_FOUND));
      const int error = replaceFile(outFile, bitstream.getBytes(), bitstream.getNumBytes(), {});
      assertThat(error == 0, "BM_loadSearchWrite", "error == 0");
    }
    state.PauseTiming();
    std::filesystem::remove(outFile);
    state.ResumeTiming();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
void streamSizesAndChanges(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgsProduct({{1 << 20, 4 << 20, 15 << 20, 64 << 20, 256 << 20}, {0, 5, 15}});
  benchmark->UseRealTime();
}
BENCHMARK_CAPTURE(BM_loadSearchWrite, mapped, mapFile)->Apply(streamSizesAndChanges);
BENCHMARK_CAPTURE(BM_loadSearchWrite, copied, copyFile)->Apply(streamSizesAndChanges);

void BM_replaceFile(benchmark::State& state, bool isOldThere) {
  const TemporaryFolder folder;
  const ByteBuffer stream = makeStream(state);
  const std::string outFile = folder.nameOf("out.bit");
  if (isOldThere) folder.put("out.bit", stream.data(), stream.size());
  for ([[maybe_unused]] auto _ : state) {
    const int error = replaceFile(outFile, stream.data(), stream.size(), {});
    assertThat(error == 0, "BM_replaceFile", "error == 0");
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
