// The map of memories: which EBRs make up each memory, and at which addresses it is.
#ifndef RAMGRAFT_LAYOUT_MAP_H
#define RAMGRAFT_LAYOUT_MAP_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "files/descriptor.h"

/// A value and the line of the map on which it is.
template <typename T>
struct Located {
  T value{};
  std::uint64_t line = 0;  ///< from 1; 0 if the map doesn't have the value
};

/// The EBRs of one width file. Together they hold some adjacent bits of each word of a part.
struct Lane {
  std::string widFile;            ///< as opened
  std::vector<std::string> wids;  ///< in width-file order, prefixes removed; at least one
  std::uint64_t bits = 0;         ///< of a word: the data width of the file
  std::uint64_t bitsPerEbr = 0;   ///< of a word in each EBR; bits == bitsPerEbr * wids.size()
  std::uint64_t firstBit = 0;     ///< the lowest of the lane's bits in a word
  std::uint64_t firstEbr = 0;     ///< EBRs in the map before those of this lane
};

/// Consecutive words of a memory.
struct Part {
  std::uint64_t firstWord = 0;
  std::uint64_t words = 0;  ///< at least one
  std::vector<Lane> lanes;  ///< lowest bits first; at least one
};

/// A memory. Its image is its words in address order, wordBytes() bytes each. The bytes of a word
/// are in the memory's order, without one most significant first. Where words aren't whole bytes,
/// the unused bits of an image are the highest ones of each word.
struct Memory {
  std::string name;
  std::uint64_t line = 0;            ///< of its table in the map
  std::vector<std::uint64_t> bases;  ///< base, then also-at; empty: reached by name alone
  std::uint64_t words = 0;           ///< of all parts
  std::uint64_t wordBits = 0;        ///< at least 1
  std::optional<std::endian> order;  ///< little: the lowest address has a word's lowest bits
  std::vector<unsigned char> fill;   ///< the number, least significant byte first; then zeros
  std::vector<Part> parts;           ///< lowest addresses first

  std::uint64_t wordBytes() const { return wordBits / 8 + (wordBits % 8 != 0 ? 1 : 0); }
  bool hasByteAddresses() const { return wordBits % 8 == 0; }
  /// Bytes of the image, which can be far more than a bitstream has until placeMap() has accepted
  /// the map.
  std::uint64_t bytes() const { return words * wordBytes(); }
  /// The index in a word's bytes of the one that has bit number `bit` of the word, at place
  /// `bit` % 8. Bit 0 is the lowest.
  std::uint64_t byteOfBit(std::uint64_t bit) const {
    return order == std::endian::little ? bit / 8 : wordBytes() - 1 - bit / 8;
  }
  /// The wordBytes() bytes in an image of a word that no content has.
  std::vector<unsigned char> fillWord() const;
};

/// Addresses that are legal but not in the bitstream.
struct OutsideRange {
  std::string name;
  std::uint64_t line = 0;  ///< of its table in the map
  std::uint64_t base = 0;
  std::uint64_t bytes = 0;  ///< at least one
};

/// A file that was read for the map.
struct MapInput {
  std::string name;  ///< as opened
  FileIdentity identity;
};

struct Map {
  std::string file;
  Located<std::string> design;        ///< the fingerprint of the design
  std::vector<Memory> memories;       ///< in the map's order; at least one
  std::vector<OutsideRange> outside;  ///< in the map's order
  std::uint64_t identifierBits = 0;   ///< of every wid
  std::vector<MapInput> inputs;       ///< the map, then all width files
};

/// Reads a map and the width files that it names into `map`, which is fresh. Returns the sentence
/// that says what is wrong and where, empty if nothing is. Names of memories are then unique, no
/// two ranges share an address, and no EBR is in two places. Takes memory for the files alone,
/// whatever numbers they have.
std::string readMap(const std::string& fileName, Map& map);

/// Where the lane's EBR number `ebr` is listed, for messages: "FILE, line N: ". Reads the file
/// again for the line, and leaves it out if that isn't possible.
std::string positionOf(const Lane& lane, std::size_t ebr);

#endif
