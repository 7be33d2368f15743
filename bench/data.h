// Made-up inputs for the benchmarks: the same arguments always give the same data.
#ifndef BENCH_DATA_H
#define BENCH_DATA_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "base/bytebuffer.h"
#include "base/ramgraftbstream.h"

/// How many bits of random bytes are set.
enum class Fill {
  SPARSE,  ///< one in 16 or so, as where a device is lightly used
  DENSE,   ///< every second one, as in random contents
};

/// `size` random bytes, a multiple of 8. No EBR address section stands in them: one bit in every
/// four bytes is always set, which is too close for the zero run behind an address opcode.
ByteBuffer makeConfiguration(std::size_t size, Fill fill);

/// A memory file of about `size` bytes: words of `wordBits` bits, a multiple of 8, one a line.
std::string makeMemoryText(std::size_t size, std::size_t wordBits);

/// A stream of EBR sections one after the other, with random contents and CRC fields of 0, at
/// which nothing is warned of.
struct SectionStream {
  SectionStream(std::size_t numSections, int numFrames);

  /// Bit index of the first payload bit behind the identifier at `identifierIndex`.
  static std::uint64_t payloadBehind(std::uint64_t identifierIndex);

  std::uint64_t payloadBits;            ///< of each section
  std::vector<std::string> wids;        ///< in stream order
  std::vector<std::uint64_t> payloads;  ///< bit index of each section's first payload bit
  Bitstream bitstream{0};
};

#endif
