// Finding EBR address sections.
#include "ebr/search.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <random>
#include <vector>

#include "base/assertion.h"
#include "data.h"
#include "ebr/chain.h"
#include "ebr/format.h"

namespace {

void sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->RangeMultiplier(16)->Range(4 << 10, 16 << 20);
}

// Passes over configuration data in which no section stands.
void BM_findAddressSection(benchmark::State& state, Fill fill) {
  Bitstream bitstream(0);
  bitstream.pushBytes(makeConfiguration(static_cast<std::size_t>(state.range(0)), fill));
  for ([[maybe_unused]] auto _ : state) {
    const std::uint64_t found = findAddressSection(bitstream, 0, NOT_FOUND);
    assertThat(found == NOT_FOUND, "BM_findAddressSection", "found == NOT_FOUND");
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK_CAPTURE(BM_findAddressSection, sparse, Fill::SPARSE)->Apply(sizes);
BENCHMARK_CAPTURE(BM_findAddressSection, dense, Fill::DENSE)->Apply(sizes);

// The same by looking for the opcode at every bit, and stopping at each one found.
void BM_findPattern(benchmark::State& state, Fill fill) {
  Bitstream bitstream(0);
  bitstream.pushBytes(makeConfiguration(static_cast<std::size_t>(state.range(0)), fill));
  std::int64_t numFound = 0;
  for ([[maybe_unused]] auto _ : state) {
    std::uint64_t at = findPattern(bitstream, EBR_ADDRESS_OPCODE, 0);
    for (; at != NOT_FOUND; ++numFound) at = findPattern(bitstream, EBR_ADDRESS_OPCODE, at + 1);
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
  state.counters["found"] =
      benchmark::Counter(static_cast<double>(numFound), benchmark::Counter::kAvgIterations);
}
BENCHMARK_CAPTURE(BM_findPattern, sparse, Fill::SPARSE)->Apply(sizes);
BENCHMARK_CAPTURE(BM_findPattern, dense, Fill::DENSE)->Apply(sizes);

// Finds all of a stream's sections in shuffled order, each with its contents changed before the
// next one is looked for: what the driver asks in a run that lists them all.
void BM_EbrSectionMap(benchmark::State& state) {
  constexpr int NUM_FRAMES = 256;
  const SectionStream stream(static_cast<std::size_t>(state.range(0)), NUM_FRAMES);
  std::vector<std::size_t> order(stream.wids.size());
  std::iota(order.begin(), order.end(), 0);
  std::shuffle(order.begin(), order.end(), std::mt19937_64(1));
  for ([[maybe_unused]] auto _ : state) {
    EbrSectionMap sections(stream.bitstream, stream.wids);
    for (const std::size_t i : order) {
      std::uint64_t identifier = 0;
      const auto outcome = sections.find(stream.wids[i], identifier);
      const std::uint64_t payload = SectionStream::payloadBehind(identifier);
      assertThat(outcome == EbrSectionMap::Outcome::FOUND && payload == stream.payloads[i],
                 "BM_EbrSectionMap", "payload == stream.payloads[i]");
      sections.bitsChanged(payload, payload + stream.payloadBits + CRC_BITS);
    }
  }
  state.SetBytesProcessed(state.iterations() *
                          static_cast<std::int64_t>(stream.bitstream.getNumBytes()));
}
BENCHMARK(BM_EbrSectionMap)->RangeMultiplier(10)->Range(10, 10000);

}  // namespace
