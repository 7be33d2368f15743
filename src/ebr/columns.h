// EbrColumns: the bits of the memory words that each EBR receives.
#ifndef RAMGRAFT_EBR_COLUMNS_H
#define RAMGRAFT_EBR_COLUMNS_H

#include <cstdint>
#include <span>
#include <vector>

#include "ebr/memorywords.h"

/// Gathers the columns of MemoryWords, which must outlive it and stay unchanged. Columns of
/// neighbouring EBRs share bytes of each memory word and are gathered together, so asking for EBRs
/// in ascending order is fast.
class EbrColumns {
 public:
  explicit EbrColumns(const MemoryWords& memoryWords) : words(memoryWords) {}

  const MemoryWords& getMemoryWords() const { return words; }

  /// The column of EBR number `ebr` as bytes, its first data bit the least significant one of the
  /// first byte: byte j is the contents of payload word j. 0 bits after the column's end fill up
  /// the last frame of eight bytes. Valid until the next call.
  std::span<const unsigned char> get(std::uint64_t ebr);

 private:
  void gather(std::uint64_t ebr);
  std::uint64_t gatherTiles();
  unsigned char* columnOf(std::uint64_t ebr);

  const MemoryWords& words;
  std::uint64_t begin = 0, end = 0;  ///< numbers of the EBRs whose columns `bytes` holds
  std::uint64_t stride = 0;          ///< bytes from one column to the next
  std::vector<unsigned char> bytes;
};

/// 64 data bits of the column of EBR number `ebr` from its bit `begin` on, which must be before its
/// end; the first one least significant. Bits after the column's end are 0. For looking into
/// columns here and there; EbrColumns is faster for whole ones.
std::uint64_t columnBitsFrom(std::uint64_t begin, const MemoryWords& words, std::uint64_t ebr);

/// The inverse of EbrColumns::get(): overwrites the bits of the words that are dealt out to EBR
/// number `ebr`. `column` must be whole frames and reach to the column's end; its bits after that
/// are ignored.
void putColumn(MemoryWords& words, std::uint64_t ebr, std::span<const unsigned char> column);

#endif
