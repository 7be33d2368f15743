#include "load/images.h"

#include <algorithm>
#include <cstring>

#include "layout/deal.h"
#include "layout/number.h"
#include "layout/spelling.h"
#include "load/texts.h"
#include "reports/text.h"

namespace {

using std::to_string;

// The place of the first such byte, or the size if there is none.
std::size_t findByte(std::span<const unsigned char> bytes, unsigned char wanted) {
  const void* const found = std::memchr(bytes.data(), wanted, bytes.size());
  return found == nullptr
             ? bytes.size()
             : static_cast<std::size_t>(static_cast<const unsigned char*>(found) - bytes.data());
}

// Gives each byte in [begin, end) that nothing was given for the one of the pattern, which repeats.
void fillGaps(std::span<const unsigned char> pattern, std::size_t begin, std::size_t end,
              MemoryImage& image) {
  const auto given = std::span(image.isGiven).subspan(begin, end - begin);
  const auto bytes = std::span(image.bytes).subspan(begin, end - begin);
  for (std::size_t at = 0; at < given.size();) {
    at += findByte(given.subspan(at), 0);
    const std::size_t gapEnd = at + findByte(given.subspan(at), 1);
    for (std::size_t place = at % pattern.size(); at < gapEnd; ++at) {
      bytes[at] = pattern[place];
      if (++place == pattern.size()) place = 0;
    }
  }
}

}  // namespace

Images::Images(const Map& itsMap, const AddressSpace& itsAddresses)
    : map(itsMap),
      addresses(itsAddresses),
      images(itsMap.memories.size()),
      memoryShares(itsMap.memories.size()),
      outsideShares(itsMap.outside.size()) {}

MemoryImage& Images::open(std::size_t number) {
  const Memory& memory = map.memories[number];
  MemoryImage& image = images[number];
  if (image.bytes.empty()) {
    image.bytes.resize(memory.bytes());
    image.isGiven.resize(memory.bytes());
    image.isTouched.resize(memory.parts.size());
  }
  return image;
}

std::string Images::place(Content& content, bool anyByteOrder) {
  takesAnyByteOrder = anyByteOrder;
  contents.push_back(&content);
  const RangeVisitor putRange = [&](const LoadedRange& range) { return put(range); };
  return readPieces(content, map, content.facts,
                    [&](const Piece& piece) { return split(content, piece, putRange); });
}

std::string Images::forEachRange(const Content& content, const RangeVisitor& visit) const {
  FirmwareFacts knownFacts;
  return readPieces(content, map, knownFacts,
                    [&](const Piece& piece) { return split(content, piece, visit); });
}

// Visits the ranges to which the bytes of a piece go.
std::string Images::split(const Content& content, const Piece& piece,
                          const RangeVisitor& visit) const {
  const std::optional<Place> place = content.place.after(piece.address);
  if (!place || !place->after(piece.bytes.size() - 1)) {
    return content.originOf(piece, 0) + ": " + countOf(piece.bytes.size(), "byte") +
           " run past the address 2^64 - 1";
  }
  if (!place->memory) return splitAtAddresses(content, piece, place->value, visit);
  const Memory& memory = map.memories[*place->memory];
  if (std::string fault = refuse(content, memory); !fault.empty()) return fault;
  if (place->value > memory.bytes()) {
    return content.originOf(piece, 0) + " begins " +
           countOf(place->value - memory.bytes(), "byte") + " past the end of " +
           nameWithLine(map, memory);
  }
  const std::uint64_t room = memory.bytes() - place->value;
  if (piece.bytes.size() > room) return tooLong(content, piece, room, memory);
  return visit({content, piece, 0, place->memory, 0, place->value, piece.bytes.size()});
}

// A piece may reach over the end of a memory into the next one.
std::string Images::splitAtAddresses(const Content& content, const Piece& piece,
                                     std::uint64_t address, const RangeVisitor& visit) const {
  const Memory* before = nullptr;
  for (std::uint64_t done = 0; done < piece.bytes.size();) {
    const AddressRange* const range = addresses.find(address + done);
    if (range == nullptr) {
      return before != nullptr ? tooLong(content, piece, done, *before)
                               : inNoMemory(content, piece, done, address + done);
    }
    const std::uint64_t offset = address + done - range->first;
    const std::uint64_t most = range->last - (address + done);  // without the last byte
    const std::uint64_t bytes = std::min(piece.bytes.size() - done - 1, most) + 1;
    LoadedRange loaded = {content, piece, done, std::nullopt, 0, offset, bytes};
    (range->isOutside ? loaded.outside : loaded.memory.emplace()) = range->index;
    if (std::string fault = visit(loaded); !fault.empty()) return fault;
    before = range->isOutside ? nullptr : &map.memories[range->index];
    done += bytes;
  }
  return "";
}

// Puts bytes into the one memory that they are for.
std::string Images::put(const LoadedRange& range) {
  Share& share = range.memory ? memoryShares[*range.memory] : outsideShares[range.outside];
  share.bytes += range.bytes;
  const std::string& file = range.content.file;
  // The ranges come content by content.
  if (share.files.empty() || share.files.back() != file) share.files.push_back(file);
  if (!range.memory) return "";
  if (std::string fault = refuse(range.content, map.memories[*range.memory]); !fault.empty()) {
    return fault;
  }
  MemoryImage& image = open(*range.memory);
  image.hasContent = true;
  image.isTouched.assign(image.isTouched.size(), true);
  const std::span<const unsigned char> bytes =
      range.piece.bytes.subspan(range.pieceOffset, range.bytes);
  const auto given = std::span(image.isGiven).subspan(range.offset, range.bytes);
  const auto taken = std::span(image.bytes).subspan(range.offset, range.bytes);
  for (std::size_t i = findByte(given, 1); i < given.size(); ++i) {
    if (given[i] == 0) continue;
    if (taken[i] != bytes[i]) return conflict(range, i);
    --image.loadedBytes;  // it is counted again below
  }
  image.loadedBytes += range.bytes;
  std::ranges::copy(bytes, taken.begin());
  std::ranges::fill(given, 1);
  return "";
}

// Why the memory can't take this kind of content; empty if it can.
std::string Images::refuse(const Content& content, const Memory& memory) const {
  if (content.format == ContentFormat::WORDS) return "";
  if (!memory.hasByteAddresses()) {
    return content.file + ": " + nameWithLine(map, memory) + " has words of " +
           to_string(memory.wordBits) + " bits and takes text words only";
  }
  if (memory.wordBytes() > 1 && !memory.order) return needsOrder(map, memory);
  const std::optional<std::endian> order = content.facts.byteOrder;
  if (order && memory.order && !takesAnyByteOrder && order != memory.order) {
    return content.file + ": its byte order is " +
           (*order == std::endian::little ? "little" : "big") + ", that of " +
           nameWithLine(map, memory) + " isn't; --any-byte-order takes it as it is";
  }
  return "";
}

std::string Images::tooLong(const Content& content, const Piece& piece, std::uint64_t fitting,
                            const Memory& memory) const {
  const std::uint64_t bytes = piece.bytes.size() - fitting;
  const std::string excess = memory.hasByteAddresses()
                                 ? countOf(bytes, "byte")
                                 : countOf(bytes / memory.wordBytes(), "word");
  std::string subject = content.originOf(piece, fitting);
  if (piece.section.empty()) subject += ": the data";
  return subject + " is " + excess + " too long for " + nameWithLine(map, memory);
}

// Says which range of bytes has no place, and what lies nearest.
std::string Images::inNoMemory(const Content& content, const Piece& piece, std::uint64_t offset,
                               std::uint64_t address) const {
  const AddressRange* const after = addresses.firstAfter(address);
  const AddressRange* const before = addresses.lastBefore(address);
  std::uint64_t bytes = piece.bytes.size() - offset;
  if (after != nullptr) bytes = std::min(bytes, after->first - address);
  std::string text = content.originOf(piece, offset) + ", " + countOf(bytes, "byte") + " at " +
                     spellHex(address) + ", in no memory";
  const bool isAfterNearer =
      after != nullptr &&
      (before == nullptr || after->first - (address + bytes - 1) < address - before->last);
  if (isAfterNearer) {
    text += "; " + addresses.nameOf(*after) + " begins at " + spellHex(after->first);
  } else if (before != nullptr) {
    text += "; " + addresses.nameOf(*before) + " ends at " + spellHex(before->last);
  }
  return text;
}

std::string Images::conflict(const LoadedRange& range, std::uint64_t i) const {
  const std::uint64_t at = range.offset + i;
  const auto describe = [at](const LoadedRange& each) {
    const std::uint64_t offset = each.pieceOffset + (at - each.offset);
    return each.content.originOf(each.piece, offset) + " has " +
           spellBytes(each.piece.bytes.subspan(offset, 1));
  };
  std::string earlier;
  for (auto content = contents.begin(); earlier.empty(); ++content) {
    earlier = forEachRange(**content, [&](const LoadedRange& each) {
      const bool hasByte =
          each.memory == range.memory && each.offset <= at && at - each.offset < each.bytes;
      return hasByte ? describe(each) : "";
    });
  }
  return describe(range) + " at " + spellLocation(map.memories[*range.memory], at) + ", where " +
         earlier;
}

void Images::set(std::size_t memory, std::uint64_t offset, std::span<const unsigned char> bytes) {
  MemoryImage& image = open(memory);
  std::ranges::copy(bytes, image.bytes.begin() + static_cast<std::ptrdiff_t>(offset));
  std::fill_n(image.isGiven.begin() + static_cast<std::ptrdiff_t>(offset), bytes.size(), 1);
  const std::vector<Part>& parts = map.memories[memory].parts;
  const std::uint64_t wordBytes = map.memories[memory].wordBytes();
  const std::uint64_t firstWord = offset / wordBytes;
  const std::uint64_t lastWord = (offset + bytes.size() - 1) / wordBytes;
  for (std::size_t part = 0; part < parts.size(); ++part) {
    const std::uint64_t begin = parts[part].firstWord, end = begin + parts[part].words;
    if (firstWord < end && begin <= lastWord) image.isTouched[part] = 1;
  }
}

void Images::complete(const Bitstream& bitstream, const Placement& placement, bool keepsRest) {
  for (std::size_t number = 0; number < images.size(); ++number) {
    const Memory& memory = map.memories[number];
    MemoryImage& image = images[number];
    if (image.bytes.empty()) continue;
    if (image.hasContent && !keepsRest) {
      fillGaps(memory.fillWord(), 0, image.bytes.size(), image);
      continue;
    }
    for (std::size_t part = 0; part < memory.parts.size(); ++part) {
      if (image.isTouched[part] == 0) continue;
      const Part& its = memory.parts[part];
      const std::size_t begin = its.firstWord * memory.wordBytes();
      const auto rest = readPart(bitstream, memory, its, placement);
      fillGaps(rest, begin, begin + rest.size(), image);
    }
  }
}
