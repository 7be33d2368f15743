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
#include "ebr/command.h"
#include "ebr/format.h"

namespace {

void sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->RangeMultiplier(16)->Range(4 << 10, 16 << 20);
}

// Passes over configuration data without any section.
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

// Finds all of a stream's sections in shuffled order, each with its contents changed before the
// next one is looked for: what the driver asks in a run that lists them all.
void BM_SectionChain(benchmark::State& state) {
  constexpr std::uint64_t NUM_FRAMES = 256;
  const CommandStream stream(static_cast<std::size_t>(state.range(0)), NUM_FRAMES);
  std::vector<std::size_t> order(stream.wids.size());
  std::iota(order.begin(), order.end(), 0);
  std::shuffle(order.begin(), order.end(), std::mt19937_64(1));
  for ([[maybe_unused]] auto _ : state) {
    SectionChain chain(stream.bitstream, stream.wids);
    for (const std::size_t i : order) {
      std::uint64_t section = 0;
      const auto outcome = chain.find(stream.wids[i], section);
      assertThat(outcome == SectionChain::Outcome::FOUND && section == stream.sections[i],
                 "BM_SectionChain", "section == stream.sections[i]");
      const EbrCommand command = readEbrCommand(stream.bitstream, section, stream.wids[i].size());
      chain.bitsChanged(command.payloadIndex, command.crcIndex() + CRC_BITS);
    }
  }
  state.SetBytesProcessed(state.iterations() *
                          static_cast<std::int64_t>(stream.bitstream.getNumBytes()));
}
BENCHMARK(BM_SectionChain)->RangeMultiplier(10)->Range(10, 10000);

}  // namespace
