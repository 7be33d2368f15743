// From the memory file to each EBR's column of bits.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/assertion.h"
#include "data.h"
#include "ebr/columns.h"
#include "steps/physicalline.h"

namespace {

constexpr std::int64_t NUM_WORDS = 2048;

// `numWords` words of random bits for `numEbrs` EBRs.
MemoryWords makeWords(std::int64_t numWords, std::int64_t numEbrs, std::int64_t bitsPerEbr) {
  const auto size = static_cast<std::size_t>(numWords * numEbrs * bitsPerEbr / 8);
  const ByteBuffer bytes = makeConfiguration(size, Fill::DENSE);
  MemoryWords words(static_cast<std::uint64_t>(numEbrs), static_cast<std::uint64_t>(bitsPerEbr));
  words.appendBytes(std::vector<unsigned char>(bytes.data(), bytes.data() + bytes.size()));
  return words;
}

// Arguments: bits of a word, bytes of the memory file.
void BM_appendWord(benchmark::State& state) {
  const std::string text = makeMemoryText(static_cast<std::size_t>(state.range(1)),
                                          static_cast<std::size_t>(state.range(0)));
  for ([[maybe_unused]] auto _ : state) {
    MemoryWords words(static_cast<std::uint64_t>(state.range(0)) / 8, 8);
    words.reserve(text.size() / 2 + 1);
    for (std::string_view rest = text; !rest.empty();) {
      const std::size_t length = rest.find('\n');
      const bool isWord = words.appendWord(rest.substr(0, length));
      assertThat(isWord, "BM_appendWord", "isWord");
      rest.remove_prefix(length + 1);
    }
    benchmark::DoNotOptimize(words.getLongestColumnBits());
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(BM_appendWord)->ArgsProduct({{8, 256, 8000}, {64 << 10, 1 << 20, 16 << 20}});

// Reads the columns of all EBRs. Arguments: bits of each word that an EBR holds, number of EBRs.
void BM_columns(benchmark::State& state) {
  const MemoryWords words = makeWords(NUM_WORDS, state.range(1), state.range(0));
  for ([[maybe_unused]] auto _ : state) {
    EbrColumns columns(words);
    for (std::uint64_t ebr = 0; ebr < words.getNumEbrs(); ++ebr) {
      benchmark::DoNotOptimize(columns.get(ebr).data());
    }
  }
  state.SetBytesProcessed(state.iterations() * NUM_WORDS * state.range(0) * state.range(1) / 8);
}
BENCHMARK(BM_columns)->ArgsProduct({{1, 8, 9, 16, 36}, {8, 64, 1000}});

// Argument: data bits in the column, at most those of 819 frames. The line is as long for few bits
// as for many.
void BM_makePhysicalLine(benchmark::State& state) {
  const MemoryWords words = makeWords(state.range(0) / 8, 1, 8);
  EbrColumns columns(words);
  for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(makePhysicalLine(columns, 0));
  state.SetBytesProcessed(state.iterations() * state.range(0) / 8);
}
BENCHMARK(BM_makePhysicalLine)->Arg(1024)->Arg(16384)->Arg(52416);

}  // namespace
