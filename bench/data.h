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

/// `size` random bytes, a multiple of 8. They contain no EBR address section: one bit in every four
/// bytes is always set, which is too close for the zero bits after an address opcode.
ByteBuffer makeConfiguration(std::size_t size, Fill fill);

/// A memory file of about `size` bytes: words of `wordBits` bits, a multiple of 8, one a line.
std::string makeMemoryText(std::size_t size, std::size_t wordBits);

/// A stream of EBR commands one after the other, with random contents and CRC fields of 0.
struct CommandStream {
  CommandStream(std::size_t numCommands, std::uint64_t numFrames);

  std::vector<std::string> wids;        ///< in stream order
  std::vector<std::uint64_t> sections;  ///< bit index of each address section
  Bitstream bitstream{0};
};

#endif
