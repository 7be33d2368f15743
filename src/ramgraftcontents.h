// EbrContents: the memory words of a run, split among the EBRs.
#ifndef RAMGRAFTCONTENTS_H
#define RAMGRAFTCONTENTS_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

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

 private:
  friend class EbrColumnReader;

  std::uint64_t getNumBits() const;

  std::uint64_t numEbrs;
  std::uint64_t bitsPerEbr;
  // The words' bits, first bit least significant, so that 8 bits of a column are a payload byte as
  // they stand. SLACK zero bytes follow, so that a whole word can be loaded at any bit.
  std::vector<unsigned char> bytes;
};

/// Reads one EBR's column from its first bit on. Refers to the contents, which must outlive it and
/// stay unchanged.
class EbrColumnReader {
 public:
  EbrColumnReader(const EbrContents& contents, std::uint64_t ebr);

  /// The next 64 data bits, the first one least significant: the eight bytes of a payload frame,
  /// the first one lowest. Bits behind the column's end are 0.
  std::uint64_t nextFrame();

 private:
  template <unsigned GROUP_BITS>
  std::uint64_t gather();

  const EbrContents& contents;
  std::uint64_t bitsLeft;       ///< of the column
  std::uint64_t position;       ///< of the next bit, in the words' row of bits
  std::uint64_t groupBitsLeft;  ///< of the group that `position` stands in
};

/// Characters of the physical column that holds `dataBits` data bits, before it is padded: blocks
/// of 20 characters carry 16 data bits, and nothing stands behind the last data bit.
std::uint64_t columnLength(std::uint64_t dataBits);

/// Payload words that the physical line of a column with `dataBits` data bits fills: two for each
/// whole block of the padded column.
std::uint64_t physicalLineWords(std::uint64_t dataBits);

/// The physical line of EBR number `ebr`: its padded column, last character first, as hexadecimal
/// text. A column longer than COLUMN_LENGTH must have a multiple of 8 characters.
std::string makePhysicalLine(const EbrContents& contents, std::uint64_t ebr);

#endif
