#include "layout/map.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <utility>

#include "files/place.h"
#include "files/read.h"
#include "inputs/loading.h"
#include "layout/addresses.h"
#include "layout/ebrtable.h"
#include "layout/mapfile.h"
#include "layout/number.h"
#include "reports/inputs.h"
#include "reports/position.h"
#include "reports/text.h"

namespace {

using std::to_string;

// Bits from the lowest one through the highest that is 1 of a number, least significant byte first
// and the last one not 0.
std::uint64_t significantBits(const std::vector<unsigned char>& number) {
  if (number.empty()) return 0;
  return (number.size() - 1) * 8 + static_cast<std::uint64_t>(std::bit_width(number.back()));
}

// "FILE, line N: " of the lane's line number `index`, of those that count.
std::string positionOfLine(const Lane& lane, std::size_t index) {
  struct stat status {};
  TextLine line;
  // A pipe has nothing left to read, and waits for a writer.
  if (::stat(lane.widFile.c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
    LineReader reader(lane.widFile, "");
    for (std::size_t i = 0; i <= index && reader.next(line); ++i) continue;
  }
  return positionText(lane.widFile, line.number);
}

// Where relative names in the map start. What a descriptor is read from has no folder: there, it is
// the working folder.
std::filesystem::path folderOf(const std::string& mapFile) {
  if (mapFile == "/dev/stdin" || parseDescriptorName(mapFile).isValid()) return {};
  return std::filesystem::path(mapFile).parent_path();
}

class MapBuilder {
 public:
  explicit MapBuilder(Map& itsMap) : map(itsMap) {}

  std::string addMemory(const MemoryTable& table) {
    Memory& memory = map.memories.emplace_back();
    memory.name = table.name;
    memory.line = table.line;
    for (const std::vector<WidName>& names : table.wid.value) {
      if (std::string fault = addPart(names, memory); !fault.empty()) return fault;
    }
    if (std::string fault = shareWords(table, memory); !fault.empty()) return fault;
    return setAttributes(table, memory);
  }

  std::string refuse(std::uint64_t line, const std::string& text) const {
    return positionText(map.file, line) + text;
  }

 private:
  std::string addPart(const std::vector<WidName>& names, Memory& memory) {
    Part& part = memory.parts.emplace_back();
    std::uint64_t bits = 0;
    for (const WidName& name : names) {
      Lane& lane = part.lanes.emplace_back();
      if (std::string fault = loadLane(name, lane); !fault.empty()) return fault;
      lane.firstBit = bits;
      bits += lane.bits;
    }
    if (memory.parts.size() == 1) memory.wordBits = bits;
    if (memory.wordBits == bits) return "";
    return refuse(names.front().line, "part " + to_string(memory.parts.size()) + " of " +
                                          memory.name + " is " + to_string(bits) +
                                          " bits wide, part 1 is " + to_string(memory.wordBits));
  }

  std::string loadLane(const WidName& name, Lane& lane) {
    lane.widFile = folderOf(map.file) / name.value;
    const FileIdentity identity = identityOf(lane.widFile);
    // Its EBRs would be in two places. Refused before it is read, because a short map could have a
    // long file read any number of times.
    if (identity != FileIdentity() && !opened.emplace(identity.device, identity.inode).second) {
      return refuse(name.line, lane.widFile + " is used twice");
    }
    MemoryInputs inputs;
    const InputFault fault = loadWidths(lane.widFile, inputs);
    if (fault.kind == InputFault::Kind::CANT_OPEN || fault.kind == InputFault::Kind::CANT_READ) {
      return refuse(name.line, textOf(fault));
    }
    if (fault.kind != InputFault::Kind::NONE) return textOf(fault);
    map.inputs.push_back({lane.widFile, identity});
    lane.wids = std::move(inputs.wids);
    lane.bits = static_cast<std::uint64_t>(inputs.widths.data);
    lane.bitsPerEbr = lane.bits / lane.wids.size();
    lane.firstEbr = std::exchange(numEbrs, numEbrs + lane.wids.size());
    return checkLane(lane);
  }

  std::string checkLane(const Lane& lane) {
    if (lane.firstEbr == 0) map.identifierBits = lane.wids.front().size();
    for (std::size_t ebr = 0; ebr < lane.wids.size(); ++ebr) {
      if (lane.wids[ebr].size() == map.identifierBits) continue;
      return positionOf(lane, ebr) + "this wid has " + to_string(lane.wids[ebr].size()) +
             " bits, the map's first has " + to_string(map.identifierBits);
    }
    if (lane.bits == lane.bitsPerEbr * lane.wids.size()) return "";
    return positionOfLine(lane, lane.wids.size()) + "dw" + to_string(lane.bits) +
           " isn't a multiple of the " + to_string(lane.wids.size()) + " EBRs of " + lane.widFile;
  }

  // Gives each part its words.
  std::string shareWords(const MemoryTable& table, Memory& memory) const {
    const auto& [counts, line] = table.words;
    const std::size_t numParts = memory.parts.size();
    if (counts.size() != 1 && counts.size() != numParts) {
      return refuse(line, memory.name + ": " + to_string(counts.size()) + " numbers of words for " +
                              to_string(numParts) + " parts");
    }
    const bool isShared = counts.size() != numParts;
    if (isShared && counts.front() % numParts != 0) {
      return refuse(line, memory.name + ": " + to_string(counts.front()) +
                              " words can't be shared out equally among " + to_string(numParts) +
                              " parts");
    }
    for (std::size_t part = 0; part < numParts; ++part) {
      const std::uint64_t words = isShared ? counts.front() / numParts : counts[part];
      if (words > UINT64_MAX / memory.wordBytes() - memory.words) {
        return refuse(line, memory.name + ": more bytes than addresses");
      }
      memory.parts[part].firstWord = std::exchange(memory.words, memory.words + words);
      memory.parts[part].words = words;
    }
    return "";
  }

  std::string setAttributes(const MemoryTable& table, Memory& memory) const {
    const std::uint64_t addressLine = std::max(table.base.line, table.alsoAt.line);
    if (!memory.hasByteAddresses() && (addressLine != 0 || table.order.line != 0)) {
      return refuse(std::max(addressLine, table.order.line),
                    memory.name + ": words of " + to_string(memory.wordBits) +
                        " bits have neither addresses nor an order");
    }
    if (table.alsoAt.line != 0 && table.base.line == 0) {
      return refuse(table.alsoAt.line, memory.name + ": also-at without base");
    }
    if (table.base.line != 0 && table.order.line == 0 && memory.wordBytes() > 1) {
      return refuse(memory.line, memory.name + ": order is missing: \"little\" or \"big\"");
    }
    if (table.order.line != 0) memory.order = table.order.value;
    memory.fill = table.fill.value;
    if (significantBits(memory.fill) > memory.wordBits) {
      return refuse(table.fill.line, memory.name + ": fill doesn't fit a word of " +
                                         to_string(memory.wordBits) + " bits");
    }
    return setBases(table, memory);
  }

  std::string setBases(const MemoryTable& table, Memory& memory) const {
    if (table.base.line != 0) memory.bases.push_back(table.base.value);
    memory.bases.insert(memory.bases.end(), table.alsoAt.value.begin(), table.alsoAt.value.end());
    for (const std::uint64_t base : memory.bases) {
      if (memory.bytes() - 1 <= UINT64_MAX - base) continue;
      return refuse(base == memory.bases.front() ? table.base.line : table.alsoAt.line,
                    memory.name + ": " + to_string(memory.bytes()) + " bytes from " +
                        spellHex(base, 8) + " on run past the address 2^64 - 1");
    }
    return "";
  }

  Map& map;
  std::size_t numEbrs = 0;
  std::set<std::pair<dev_t, ino_t>> opened;  ///< the width files
};

std::string checkAddresses(const Map& map) {
  const AddressSpace addresses(map);
  const std::vector<AddressRange>& ranges = addresses.getRanges();
  const auto isShared = [](const AddressRange& a, const AddressRange& b) {
    return b.first <= a.last;
  };
  const auto found = std::ranges::adjacent_find(ranges, isShared);
  if (found == ranges.end()) return "";
  const AddressRange* first = &*found;
  const AddressRange* second = first + 1;
  const std::string shared = " shares addresses from " + spellHex(second->first, 8) + " on with ";
  if (addresses.lineOf(*second) < addresses.lineOf(*first)) std::swap(first, second);
  const bool isOne = &addresses.nameOf(*first) == &addresses.nameOf(*second);
  return positionText(map.file, addresses.lineOf(*second)) + addresses.nameOf(*second) + shared +
         (isOne ? "itself"
                : addresses.nameOf(*first) + " (line " + to_string(addresses.lineOf(*first)) + ")");
}

std::string checkEbrs(const Map& map) {
  const EbrTable table(map);
  const auto [first, second] = table.findRepeated();
  if (first == nullptr) return "";
  return positionOf(table.laneOf(*second), second->ebr) + "EBR " + excerptOf(second->wid) +
         " is in two places: " + map.memories[first->memory].name + " has it from " +
         table.laneOf(*first).widFile;
}

}  // namespace

std::vector<unsigned char> Memory::fillWord() const {
  std::vector<unsigned char> word(wordBytes());
  for (std::size_t i = 0; i < fill.size(); ++i) word[byteOfBit(i * 8)] = fill[i];
  return word;
}

std::string positionOf(const Lane& lane, std::size_t ebr) { return positionOfLine(lane, ebr); }

std::string readMap(const std::string& fileName, Map& map) {
  map.file = fileName;
  MapFile mapFile;
  if (std::string fault = readMapFile(fileName, mapFile); !fault.empty()) return fault;
  map.inputs.push_back({fileName, mapFile.identity});
  map.design = mapFile.design;
  MapBuilder builder(map);
  for (const MemoryTable& table : mapFile.memories) {
    if (std::string fault = builder.addMemory(table); !fault.empty()) return fault;
  }
  for (OutsideRange& range : mapFile.outside) {
    if (range.bytes - 1 > UINT64_MAX - range.base) {
      return builder.refuse(range.line, range.name + ": " + to_string(range.bytes) +
                                            " bytes from " + spellHex(range.base, 8) +
                                            " on run past the address 2^64 - 1");
    }
    map.outside.push_back(std::move(range));
  }
  if (std::string fault = checkAddresses(map); !fault.empty()) return fault;
  return checkEbrs(map);
}
