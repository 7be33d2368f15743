// `diff`: in which EBRs two bitstreams differ.
#include <algorithm>
#include <bit>
#include <cstring>

#include "companion/json.h"
#include "ebr/search.h"
#include "inspect/sections.h"
#include "inspect/subcommands.h"
#include "reports/text.h"

namespace {

using std::to_string;

// Bits in which two streams of the same size differ.
struct BitDifferences {
  std::uint64_t count = 0;
  std::uint64_t first = NOT_FOUND;  // bit index

  void add(const BitDifferences& later) {
    if (count == 0) first = later.first;
    count += later.count;
  }
};

// The differences in the bits [begin, end). Almost all blocks are equal, which needs no counting.
BitDifferences compareBits(const Bitstream& a, const Bitstream& b, std::uint64_t begin,
                           std::uint64_t end) {
  constexpr std::uint64_t BLOCK_BYTES = 256;
  BitDifferences found;
  while (begin < end) {
    const std::uint64_t byte = begin / 8;
    if (begin % 8 == 0 && end - begin >= BLOCK_BYTES * 8 &&
        std::memcmp(a.getBytes() + byte, b.getBytes() + byte, BLOCK_BYTES) == 0) {
      begin += BLOCK_BYTES * 8;
      continue;
    }
    const std::uint64_t bits = std::min(64 - begin % 8, end - begin);
    const std::uint64_t different = (a.getWindow(begin) ^ b.getWindow(begin)) >> (64 - bits);
    if (different != 0 && found.count == 0) {
      found.first = begin + bits - static_cast<std::uint64_t>(std::bit_width(different));
    }
    found.count += static_cast<std::uint64_t>(std::popcount(different));
    begin += bits;
  }
  return found;
}

// An EBR that differs.
struct ChangedEbr {
  EbrCommand command;
  std::uint64_t payloadBits = 0;
  bool isCrcChanged = false;
};

struct Differences {
  std::uint64_t numEbrs = 0;
  std::vector<ChangedEbr> changed;
  BitDifferences outside;  // of all payloads and CRC fields

  bool isNone() const { return changed.empty() && outside.count == 0; }
};

// Payloads may overlap when contents look like commands. A bit that one of them covers isn't
// outside.
Differences compareStreams(const SectionTable& table, const Bitstream& changed) {
  const Bitstream& old = table.getBitstream();
  Differences found;
  std::uint64_t compared = 0;  // everything before this bit has been counted
  for (std::size_t i = 0; i < table.size(); ++i) {
    const EbrCommand command = table.getCommand(i);
    if (command.fault != CommandFault::NONE) continue;
    ++found.numEbrs;
    const std::uint64_t crcEnd = command.crcIndex() + CRC_BITS;
    found.outside.add(compareBits(old, changed, compared, command.payloadIndex));
    compared = std::max(compared, crcEnd);
    const std::uint64_t payloadBits =
        compareBits(old, changed, command.payloadIndex, command.crcIndex()).count;
    const bool isCrcChanged = compareBits(old, changed, command.crcIndex(), crcEnd).count != 0;
    if (payloadBits == 0 && !isCrcChanged) continue;
    found.changed.push_back({command, payloadBits, isCrcChanged});
  }
  found.outside.add(compareBits(old, changed, compared, old.getNumBits()));
  return found;
}

void printText(const SectionTable& table, const Differences& differences, StandardOutput& output) {
  for (const ChangedEbr& ebr : differences.changed) {
    std::string line = "EBR " + table.getIdentifier(ebr.command) + " at bit ";
    line += to_string(ebr.command.opcodeIndex) + ": " + countOf(ebr.payloadBits, "payload bit");
    line += ebr.isCrcChanged ? " and the CRC differ\n"
                             : std::string(differFor(ebr.payloadBits)) + ", the CRC doesn't\n";
    output.write(line);
  }
  output.write(to_string(differences.changed.size()) + " of " +
               countOf(differences.numEbrs, "EBR").append(differFor(differences.changed.size())) +
               "; outside of them ");
  const BitDifferences& outside = differences.outside;
  output.write(outside.count == 0 ? "nothing does\n"
                                  : countOf(outside.count, "bit") + ", the first at bit " +
                                        to_string(outside.first) + "\n");
}

void printJson(const SectionTable& table, const Differences& differences, StandardOutput& output) {
  JsonObject object(output);
  object.add("same", differences.isNone());
  object.beginList("sections");
  for (const ChangedEbr& ebr : differences.changed) {
    object.addElement({{"identifier", table.getIdentifier(ebr.command)},
                       {"bit", ebr.command.opcodeIndex},
                       {"payloadBits", ebr.payloadBits},
                       {"crc", ebr.isCrcChanged}});
  }
  object.endList();
  object.add("outsideBits", differences.outside.count);
  if (differences.outside.count != 0) object.add("firstOutsideBit", differences.outside.first);
  object.end();
}

void printSizes(std::uint64_t oldBytes, std::uint64_t newBytes, bool isJson,
                StandardOutput& output) {
  if (isJson) {
    JsonObject object(output);
    object.add("same", false);
    object.add("sizes", {oldBytes, newBytes});
    object.end();
  } else {
    output.write("the sizes differ: " + to_string(oldBytes) + " and " + countOf(newBytes, "byte") +
                 "\n");
  }
}

struct Diff {
  std::string oldFile, newFile;
  std::uint64_t identifierBits = 0;
  bool isJson = false;

  void addTo(CLI::App& app) {
    addIdentifierBits(app, identifierBits);
    addJson(app, isJson);
    addFile(app, "OLD.bit", "A bitstream", oldFile);
    addFile(app, "NEW.bit", "Another one", newFile);
  }

  ExitStatus run() const {
    OpenStream old, changed;
    if (!openStream(oldFile, old) || !openStream(newFile, changed)) return ExitStatus::FAILED;
    const std::uint64_t oldBytes = old.bitstream.getNumBytes();
    const std::uint64_t newBytes = changed.bitstream.getNumBytes();
    StandardOutput output;
    if (oldBytes != newBytes) {
      if (old.identity == changed.identity) {
        return refuse(oldFile + " and " + newFile +
                      " are the same pipe, which can't be read twice");
      }
      printSizes(oldBytes, newBytes, isJson, output);
      return output.finish(ExitStatus::NO);
    }
    const std::optional<SectionTable> table = findSections(old, identifierBits, true);
    if (!table) return ExitStatus::FAILED;
    const Differences differences = compareStreams(*table, changed.bitstream);
    isJson ? printJson(*table, differences, output) : printText(*table, differences, output);
    return output.finish(differences.isNone() ? ExitStatus::FINE : ExitStatus::NO);
  }
};

}  // namespace

const Program DIFF = {"diff", "Show in which EBRs two bitstreams differ", prepare<Diff>};
