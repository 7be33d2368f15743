// MemoryWords: the memory words of a run, and which EBR each of their bits is for.
#ifndef RAMGRAFT_EBR_MEMORYWORDS_H
#define RAMGRAFT_EBR_MEMORYWORDS_H

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "base/bytebuffer.h"

/// The memory words form one long row of bits. It is cut into groups of `bitsPerEbr` bits, and the
/// groups are dealt out to the EBRs in turn, from the last EBR to the first:
///
///   row     | group 0       | group 1       | ... | group numEbrs-1 | group numEbrs | ...
///   to EBR    numEbrs - 1     numEbrs - 2           0                 numEbrs - 1
///
/// The groups that one EBR receives, in order, are its column. EBRs are numbered from 0 in the
/// order of the width file. Only the words' bits are kept, so memory grows with them alone.
class MemoryWords {
 public:
  /// No words yet. Both counts must be at least 1.
  MemoryWords(std::uint64_t numEbrs, std::uint64_t bitsPerEbr);

  /// Makes room for `wordBytes` bytes of words in all.
  void reserve(std::uint64_t wordBytes);
  /// Appends one memory word in hexadecimal, either case; an odd count of digits is read as if a
  /// '0' came first. Returns false if `word` has a character that is not hexadecimal; these memory
  /// words are then of no further use.
  bool appendWord(std::string_view word);
  /// Appends whole bytes, each most significant bit first.
  void appendBytes(const std::vector<unsigned char>& wordBytes);

  /// Appends `numBytes` bytes of 0 bits.
  void appendZeros(std::size_t numBytes);
  /// Deals the same row out anew. Both counts must be at least 1.
  void deal(std::uint64_t ebrs, std::uint64_t bitsEach);

  std::uint64_t getNumEbrs() const { return numEbrs; }
  std::uint64_t getBitsPerEbr() const { return bitsPerEbr; }
  /// Bits that one round of dealing uses up.
  std::uint64_t getRoundBits() const { return numEbrs * bitsPerEbr; }
  /// Data bits in the column of EBR number `ebr`.
  std::uint64_t getColumnBits(std::uint64_t ebr) const;
  /// Data bits in the longest column, which is always that of the last EBR.
  std::uint64_t getLongestColumnBits() const { return getColumnBits(numEbrs - 1); }
  /// Position of EBR number `ebr` in each round of dealing, from 0.
  std::uint64_t getTurn(std::uint64_t ebr) const { return numEbrs - 1 - ebr; }
  /// The row of bits, the first bit least significant in the first byte: 8 consecutive bits of a
  /// column then make a payload byte without being reversed.
  std::span<const unsigned char> getBytes() const { return {bytes.data(), bytes.size()}; }
  std::span<unsigned char> getBytes() { return {bytes.data(), bytes.size()}; }

 private:
  unsigned char* grow(std::size_t numBytes);

  std::uint64_t numEbrs;
  std::uint64_t bitsPerEbr;
  ByteBuffer bytes;
};

#endif
