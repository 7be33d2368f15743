#include "load/report.h"

#include <algorithm>
#include <array>

#include "companion/json.h"
#include "layout/number.h"
#include "load/texts.h"
#include "reports/text.h"

namespace {

using std::to_string;

constexpr std::uint64_t MOST_SHOWN = 10;

std::string join(const std::vector<std::string>& texts) {
  std::string all;
  for (const std::string& text : texts) all += (all.empty() ? "" : ", ") + text;
  return all;
}

// ---- As text ----

// The rows of a table, whose columns are as wide as their longest text.
class Table {
 public:
  void add(std::string name, std::string range, std::string text, const std::string& files) {
    rows.push_back({std::move(name), std::move(range), std::move(text), withoutControls(files)});
  }

  std::string spell() const {
    Widths widths{};
    for (const Row& row : rows) {
      for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
    }
    std::string text;
    for (const Row& row : rows) {
      std::string line;
      for (std::size_t i = 0; i < row.size(); ++i) {
        line += row[i] + std::string(widths[i] - row[i].size() + 3, ' ');
      }
      text += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
    }
    return text;
  }

 private:
  using Row = std::array<std::string, 4>;
  using Widths = std::array<std::size_t, 4>;

  std::vector<Row> rows;
};

std::string rangeOf(const Memory& memory) {
  if (memory.bases.empty()) return "";
  const std::uint64_t first = memory.bases.front(), last = first + (memory.bytes() - 1);
  const std::size_t digits = addressDigits(last);
  return spellHex(first, digits) + ".." + spellHex(last, digits);
}

// A share of a whole in percent, rounded to one digit after the point.
std::string percentOf(std::uint64_t part, std::uint64_t whole) {
  const std::uint64_t tenths = (part * 1000 + whole / 2) / whole;
  return to_string(tenths / 10) + "." + to_string(tenths % 10) + " %";
}

std::string stateOf(const Report& report, std::size_t number) {
  const Memory& memory = report.map.memories[number];
  const MemoryImage& image = report.images.getImage(number);
  if (image.bytes.empty()) return "unchanged";
  if (!image.hasContent) return "set in part";
  return to_string(image.loadedBytes) + " of " + countOf(memory.bytes(), "byte") + " (" +
         percentOf(image.loadedBytes, memory.bytes()) + ")";
}

void addMemories(const Report& report, Table& table) {
  for (std::size_t i = 0; i < report.map.memories.size(); ++i) {
    const Memory& memory = report.map.memories[i];
    table.add(memory.name, rangeOf(memory), stateOf(report, i),
              join(report.images.getMemoryShares()[i].files));
  }
}

void addOutside(const Report& report, Table& table) {
  for (std::size_t i = 0; i < report.map.outside.size(); ++i) {
    const Share& share = report.images.getOutsideShares()[i];
    if (share.bytes == 0) continue;
    table.add(report.map.outside[i].name, "", countOf(share.bytes, "byte") + " outside, skipped",
              join(share.files));
  }
}

std::string spellSets(const Report& report, std::size_t nameWidth) {
  std::string text;
  for (const SetValue& set : report.sets) {
    std::string head = "set";
    head.resize(std::max<std::size_t>(nameWidth, 3) + 3, ' ');
    text += head + withoutControls(set.place) + " " +
            spellLocation(report.map.memories[set.memory], set.offset) + " = " +
            spellBytes(set.bytes) + "\n";
  }
  return text;
}

// The first few bytes, or words that aren't whole bytes, that differ.
std::string spellDifferences(const Memory& memory, const MemoryImage& image,
                             const MemoryDifferences& differences) {
  const std::uint64_t unit = memory.hasByteAddresses() ? 1 : memory.wordBytes();
  std::string text;
  std::uint64_t shown = 0;
  for (const Difference& run : differences.runs) {
    for (std::uint64_t at = 0; at < run.bytes && shown < MOST_SHOWN; at += unit, ++shown) {
      text += "  " + spellLocation(memory, run.offset + at) + ": expected " +
              spellBytes(std::span(image.bytes).subspan(run.offset + at, unit)) + ", found " +
              spellBytes(std::span(differences.found).subspan(shown * unit, unit)) + "\n";
    }
  }
  const std::uint64_t all = differences.bytes / unit;
  return all > shown ? text + "  ... and " + to_string(all - shown) + " more\n" : text;
}

std::string spellCheck(const Report& report, std::size_t number) {
  const Memory& memory = report.map.memories[number];
  const MemoryDifferences& differences = (*report.differences)[number];
  const GraftChanges& changes = report.changes[number];
  if (changes.numEbrs == 0) return "";
  const bool isWords = !memory.hasByteAddresses();
  const std::uint64_t unit = isWords ? memory.wordBytes() : 1;
  const std::uint64_t count = differences.bytes / unit;
  std::string text =
      memory.name + ": " + to_string(count) + " of " +
      countOf(memory.bytes() / unit, isWords ? "word" : "byte").append(differFor(count));
  if (count == 0 && changes.changedPayloads != 0) {
    text += ", but " + countOf(changes.changedPayloads, "EBR") +
            " has ninth bits or contents after the last word";
  }
  if (changes.changedCrcs != 0) {
    text += (count == 0 ? ", but " : ", and of others ") + countOf(changes.changedCrcs, "CRC") +
            differFor(changes.changedCrcs).data();
  }
  return text + "\n" + spellDifferences(memory, report.images.getImage(number), differences);
}

// ---- As JSON ----

Json toJson(const Report& report, std::size_t number) {
  const Memory& memory = report.map.memories[number];
  const MemoryImage& image = report.images.getImage(number);
  Json json = {{"name", memory.name}};
  json["base"] = memory.bases.empty() ? Json() : Json(spellHex(memory.bases.front(), 8));
  json["bytes"] = memory.bytes();
  json["loaded"] = image.loadedBytes;
  json["touched"] = !image.bytes.empty();
  json["files"] = report.images.getMemoryShares()[number].files;
  return json;
}

// Adjoining ranges of one memory or outside range as one.
class RangeList {
 public:
  RangeList(const Report& whole, JsonObject& to) : report(whole), object(to) {}

  void add(const LoadedRange& range) {
    const bool isAdjacent = bytes != 0 && memory == range.memory && outside == range.outside &&
                            offset + bytes == range.offset;
    if (!isAdjacent) {
      finish();
      memory = range.memory;
      outside = range.outside;
      offset = range.offset;
    }
    bytes += range.bytes;
  }

  void finish() {
    if (bytes == 0) return;
    const Map& map = report.map;
    object.addElement({{"address", memory ? spellLocation(map.memories[*memory], offset)
                                          : spellHex(map.outside[outside].base + offset, 8)},
                       {"bytes", bytes},
                       {"memory", memory ? Json(map.memories[*memory].name) : Json()}});
    bytes = 0;
  }

 private:
  const Report& report;
  JsonObject& object;
  std::optional<std::size_t> memory;
  std::size_t outside = 0;
  std::uint64_t offset = 0, bytes = 0;  // of what hasn't been added yet
};

void writeFiles(const Report& report, JsonObject& object) {
  object.beginList("files");
  for (const Content& content : report.contents) {
    object.beginElement();
    object.add("file", content.file);
    object.add("format", nameOf(content.format));
    object.beginList("ranges");
    RangeList ranges(report, object);
    report.images.forEachRange(content, [&](const LoadedRange& range) {
      ranges.add(range);
      return "";
    });
    ranges.finish();
    object.endList();
    object.endElement();
  }
  object.endList();
}

void writeDifferences(const Report& report, JsonObject& object) {
  object.add("same", report.isSame());
  object.beginList("differences");
  for (std::size_t number = 0; number < report.map.memories.size(); ++number) {
    const MemoryDifferences& differences = (*report.differences)[number];
    const std::span<const unsigned char> image = report.images.getImage(number).bytes;
    std::span<const unsigned char> found = differences.found;
    for (const Difference& run : differences.runs) {
      const Memory& memory = report.map.memories[number];
      object.addElement({{"memory", memory.name},
                         {"address", spellLocation(memory, run.offset)},
                         {"expected", spellBytes(image.subspan(run.offset, run.bytes))},
                         {"found", spellBytes(found.first(run.bytes))}});
      found = found.subspan(run.bytes);
    }
  }
  object.endList();
  std::uint64_t payloads = 0, crcs = 0;
  for (const GraftChanges& changes : report.changes) {
    payloads += changes.changedPayloads;
    crcs += changes.changedCrcs;
  }
  object.add("changedPayloads", payloads);
  object.add("changedCrcs", crcs);
}

}  // namespace

bool Report::isSame() const {
  return std::ranges::all_of(changes, [](const GraftChanges& its) {
    return its.changedPayloads == 0 && its.changedCrcs == 0;
  });
}

std::string spellReport(const Report& report) {
  Table table;
  addMemories(report, table);
  addOutside(report, table);
  std::size_t nameWidth = 0;
  for (const Memory& memory : report.map.memories) {
    nameWidth = std::max(nameWidth, memory.name.size());
  }
  std::string text = table.spell() + spellSets(report, nameWidth);
  if (report.differences == nullptr) return text;
  for (std::size_t i = 0; i < report.map.memories.size(); ++i) text += spellCheck(report, i);
  return text + (report.isSame() ? "same\n" : "not the same\n");
}

void writeReport(const Report& report, StandardOutput& output) {
  JsonObject object(output);
  object.beginList("memories");
  for (std::size_t i = 0; i < report.map.memories.size(); ++i) {
    object.addElement(toJson(report, i));
  }
  object.endList();
  writeFiles(report, object);
  object.beginList("sets");
  for (const SetValue& set : report.sets) {
    object.addElement({{"place", set.place},
                       {"address", spellLocation(report.map.memories[set.memory], set.offset)},
                       {"bytes", spellBytes(set.bytes)}});
  }
  object.endList();
  object.beginList("outside");
  for (std::size_t i = 0; i < report.map.outside.size(); ++i) {
    const Share& share = report.images.getOutsideShares()[i];
    object.addElement({{"name", report.map.outside[i].name},
                       {"base", spellHex(report.map.outside[i].base, 8)},
                       {"skipped", share.bytes},
                       {"files", share.files}});
  }
  object.endList();
  if (report.differences != nullptr) writeDifferences(report, object);
  object.end(report.warnings);
}
