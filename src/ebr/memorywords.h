// EbrContents: the memory words of a run, split among the EBRs.
#ifndef RAMGRAFT_EBR_MEMORYWORDS_H
#define RAMGRAFT_EBR_MEMORYWORDS_H

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "base/bytebuffer.h"

/// The new contents of all listed EBRs. The memory words form one long row of bits; it is cut into
/// groups of `bitsPerEbr` bits, and the groups are dealt out to the EBRs in turn, from the last
/// EBR to the first:
///
///   words   | group 0       | group 1       | ... | group numEbrs-1 | group numEbrs | ...
///   to EBR    numEbrs - 1     numEbrs - 2           0                 numEbrs - 1
///
/// The groups that one EBR receives, in order, are its column. EBRs are numbered from 0 in the
/// order of the width file. Only the words' bits are kept, so memory grows with them alone.
class EbrContents {
 public:
  /// No contents yet. Both counts must be at least 1.
  EbrContents(std::uint64_t numEbrs, std::uint64_t bitsPerEbr);

  /// Makes room for `wordBytes` bytes of words in all.
  void reserve(std::uint64_t wordBytes);
  /// Appends one memory word in hexadecimal, either case; an odd count of digits is read as if a
  /// '0' stood in front. Returns false when `word` holds a character that is not hexadecimal; the
  /// contents are then of no further use.
  bool appendWord(std::string_view word);
  /// Appends whole bytes, most significant bit first.
  void appendBytes(const std::vector<unsigned char>& wordBytes);

  std::uint64_t getNumEbrs() const { return numEbrs; }
  std::uint64_t getBitsPerEbr() const { return bitsPerEbr; }
  /// Data bits in the column of EBR number `ebr`.
  std::uint64_t getColumnBits(std::uint64_t ebr) const;
  /// Data bits in the longest column, which is always that of the last EBR.
  std::uint64_t getLongestColumnBits() const { return getColumnBits(numEbrs - 1); }
  /// Place of EBR number `ebr` in each round of dealing, from 0.
  std::uint64_t getTurn(std::uint64_t ebr) const { return numEbrs - 1 - ebr; }
  /// The row of bits, the first bit least significant in the first byte, so that 8 bits of a column
  /// are a payload byte as they stand.
  std::span<const unsigned char> getBytes() const { return {bytes.data(), bytes.size()}; }

 private:
  unsigned char* grow(std::size_t numBytes);

  std::uint64_t numEbrs;
  std::uint64_t bitsPerEbr;
  ByteBuffer bytes;
};

#endif
