// EbrColumns: what each EBR receives of the memory words, and its text form, the physical line.
#ifndef RAMGRAFT_EBR_COLUMNS_H
#define RAMGRAFT_EBR_COLUMNS_H

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "ebr/memorywords.h"

/// Gathers the columns of EbrContents, which must outlive it and stay unchanged. Columns of
/// neighbouring EBRs stand in the same bytes of each memory word and are gathered together, so it
/// is fast for EBRs in ascending order.
class EbrColumns {
 public:
  explicit EbrColumns(const EbrContents& words) : contents(words) {}

  const EbrContents& getContents() const { return contents; }

  /// The column of EBR number `ebr` as bytes: its first data bit is the least significant one of
  /// the first byte, so that byte j is what payload word j holds. Behind the column's end 0 bits
  /// fill up the last frame of eight bytes. Valid until the next call.
  std::span<const unsigned char> get(std::uint64_t ebr);

 private:
  void gather(std::uint64_t ebr);
  std::uint64_t gatherTiles();
  unsigned char* columnOf(std::uint64_t ebr);

  const EbrContents& contents;
  std::uint64_t begin = 0, end = 0;  ///< numbers of the EBRs whose columns `bytes` holds
  std::uint64_t stride = 0;          ///< bytes from one column to the next
  std::vector<unsigned char> bytes;
};

/// Characters of the physical column that holds `dataBits` data bits, before it is padded: blocks
/// of 20 characters carry 16 data bits, and nothing stands behind the last data bit.
std::uint64_t columnLength(std::uint64_t dataBits);

/// Payload words that the physical line of a column with `dataBits` data bits fills: two for each
/// whole block of the padded column.
std::uint64_t physicalLineWords(std::uint64_t dataBits);

/// The physical line of EBR number `ebr`: its padded column, last character first, as hexadecimal
/// text. A column longer than COLUMN_LENGTH must have a multiple of 8 characters.
std::string makePhysicalLine(EbrColumns& columns, std::uint64_t ebr);

#endif
