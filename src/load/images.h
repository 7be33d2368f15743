// The bytes that the memories are to have.
#ifndef RAMGRAFT_LOAD_IMAGES_H
#define RAMGRAFT_LOAD_IMAGES_H

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "layout/addresses.h"
#include "layout/placement.h"
#include "load/content.h"

/// Bytes of a content that go to one memory or outside range.
struct LoadedRange {
  const Content& content;
  const Piece& piece;
  std::uint64_t pieceOffset = 0;      ///< of the first byte in the piece
  std::optional<std::size_t> memory;  ///< its number in the map; none: an outside range
  std::size_t outside = 0;            ///< the number of that range
  std::uint64_t offset = 0;           ///< of the first byte in the memory or range
  std::uint64_t bytes = 0;
};

/// Takes a range as PieceVisitor takes a piece.
using RangeVisitor = std::function<std::string(const LoadedRange&)>;

/// What contents have for one memory or outside range.
struct Share {
  std::uint64_t bytes = 0;         ///< also those that two contents have
  std::vector<std::string> files;  ///< in the contents' order
};

/// What one memory is to have.
struct MemoryImage {
  std::vector<unsigned char>
      bytes;  ///< of all words, in address order; empty until something comes
  std::vector<unsigned char> isGiven;    ///< for each byte 1 if a content or a set has it, else 0
  std::vector<unsigned char> isTouched;  ///< for each part 1 if it is to be grafted, else 0
  std::uint64_t loadedBytes = 0;         ///< bytes that contents have
  bool hasContent = false;               ///< a content has put something here
};

/// Collects what contents and sets put into a map's memories. Refers to the map, the address space
/// and the contents, which must outlive it.
class Images {
 public:
  Images(const Map& map, const AddressSpace& addresses);

  /// Puts all bytes of a content where they belong. With `takesAnyByteOrder`, an ELF file's byte
  /// order doesn't matter. Returns the sentence that says why that can't be done, else empty.
  std::string place(Content& content, bool takesAnyByteOrder);
  /// Puts bytes into a memory at byte `offset`, over what contents have. They must fit.
  void set(std::size_t memory, std::uint64_t offset, std::span<const unsigned char> bytes);
  /// Fills in what nothing was given for: the memory's fill where a content put something into the
  /// memory, unless `keepsRest`; else the bytes that the bitstream has.
  void complete(const Bitstream& bitstream, const Placement& placement, bool keepsRest);

  const MemoryImage& getImage(std::size_t memory) const { return images[memory]; }
  const std::vector<Share>& getMemoryShares() const { return memoryShares; }
  const std::vector<Share>& getOutsideShares() const { return outsideShares; }
  /// Reads the content again and visits the ranges to which its bytes go, in its order.
  std::string forEachRange(const Content& content, const RangeVisitor& visit) const;

 private:
  std::string split(const Content& content, const Piece& piece, const RangeVisitor& visit) const;
  std::string splitAtAddresses(const Content& content, const Piece& piece, std::uint64_t address,
                               const RangeVisitor& visit) const;
  std::string put(const LoadedRange& range);
  std::string refuse(const Content& content, const Memory& memory) const;
  std::string tooLong(const Content& content, const Piece& piece, std::uint64_t fitting,
                      const Memory& memory) const;
  std::string inNoMemory(const Content& content, const Piece& piece, std::uint64_t offset,
                         std::uint64_t address) const;
  std::string conflict(const LoadedRange& range, std::uint64_t offset) const;
  MemoryImage& open(std::size_t memory);

  const Map& map;
  const AddressSpace& addresses;
  bool takesAnyByteOrder = false;
  std::vector<MemoryImage> images;
  std::vector<Share> memoryShares, outsideShares;
  std::vector<const Content*> contents;  ///< placed so far, and the one that is being placed
};

#endif
