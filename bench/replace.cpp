// Writing an EBR's payload and the CRC after it.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

#include "base/assertion.h"
#include "data.h"
#include "ebr/crc.h"
#include "ebr/format.h"
#include "ebr/graft.h"

namespace {

// Argument: frames of each payload, all of which the new contents fill.
void BM_replaceContents(benchmark::State& state) {
  constexpr std::size_t NUM_EBRS = 32;
  constexpr std::uint64_t BITS_PER_EBR = 8;
  const auto numFrames = static_cast<std::uint64_t>(state.range(0));
  CommandStream stream(NUM_EBRS, numFrames);
  MemoryWords words(NUM_EBRS, BITS_PER_EBR);
  words.appendBytes(std::vector<unsigned char>(NUM_EBRS * FRAME_PAYLOAD_WORDS * numFrames, 0x5A));
  for ([[maybe_unused]] auto _ : state) {
    EbrColumns columns(words);
    for (std::size_t i = 0; i < NUM_EBRS; ++i) {
      const EbrCommand command =
          readEbrCommand(stream.bitstream, stream.sections[i], stream.wids[i].size());
      const GraftReport report = replaceContents(stream.bitstream, command, columns, i);
      assertThat(report.writtenWords == FRAME_PAYLOAD_WORDS * numFrames, "BM_replaceContents",
                 "report.writtenWords");
    }
  }
  state.SetBytesProcessed(state.iterations() *
                          static_cast<std::int64_t>(NUM_EBRS * numFrames * FRAME_BITS / 8));
}
BENCHMARK(BM_replaceContents)->Arg(16)->Arg(256)->Arg(819);

// The definition of the CRC, one bit after the other.
std::uint16_t crc16BitAtATime(const unsigned char* bytes, std::size_t size) {
  constexpr unsigned POLYNOMIAL = 0x8005;
  unsigned sum = 0;
  for (std::size_t i = 0; i < size; ++i) {
    sum ^= static_cast<unsigned>(bytes[i]) << 8;
    for (int bit = 0; bit < 8; ++bit) sum = sum << 1 ^ ((sum & 0x8000) != 0 ? POLYNOMIAL : 0);
    sum &= 0xFFFF;
  }
  return static_cast<std::uint16_t>(sum);
}

using Crc = std::uint16_t (*)(const unsigned char* bytes, std::size_t size);

// Argument: bytes.
void BM_crc16(benchmark::State& state, Crc crc) {
  const auto size = static_cast<std::size_t>(state.range(0));
  const ByteBuffer bytes = makeConfiguration(size, Fill::DENSE);
  assertThat(crc(bytes.data(), size) == crc16BitAtATime(bytes.data(), size), "BM_crc16",
             "crc == crc16BitAtATime");
  for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(crc(bytes.data(), size));
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK_CAPTURE(BM_crc16, tables, crc16)->RangeMultiplier(32)->Range(64, 64 << 10);
BENCHMARK_CAPTURE(BM_crc16, bitAtATime, crc16BitAtATime)->RangeMultiplier(32)->Range(64, 64 << 10);

}  // namespace
