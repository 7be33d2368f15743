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

// ---- What both forms need ----

// What contents have for one memory or outside range.
struct Share {
  std::uint64_t bytes = 0;         // also those that two contents have
  std::vector<std::string> files;  // in the contents' order

  void add(const LoadedRange& range) {
    bytes += range.bytes;
    // The ranges come content by content.
    if (files.empty() || files.back() != range.content->file) files.push_back(range.content->file);
  }
};

// The shares of all memories and outside ranges.
struct Shares {
  std::vector<Share> memories, outside;

  explicit Shares(const Report& report)
      : memories(report.map.memories.size()), outside(report.map.outside.size()) {
    for (const LoadedRange& range : report.images.getRanges()) {
      (range.memory ? memories[*range.memory] : outside[range.outside]).add(range);
    }
  }
};

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

void addMemories(const Report& report, const Shares& shares, Table& table) {
  for (std::size_t i = 0; i < report.map.memories.size(); ++i) {
    const Memory& memory = report.map.memories[i];
    table.add(memory.name, rangeOf(memory), stateOf(report, i), join(shares.memories[i].files));
  }
}

void addOutside(const Report& report, const Shares& shares, Table& table) {
  for (std::size_t i = 0; i < shares.outside.size(); ++i) {
    const Share& share = shares.outside[i];
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

Json toJson(const Report& report, const Share& share, std::size_t number) {
  const Memory& memory = report.map.memories[number];
  const MemoryImage& image = report.images.getImage(number);
  Json json = {{"name", memory.name}};
  json["base"] = memory.bases.empty() ? Json() : Json(spellHex(memory.bases.front(), 8));
  json["bytes"] = memory.bytes();
  json["loaded"] = image.loadedBytes;
  json["touched"] = !image.bytes.empty();
  json["files"] = share.files;
  return json;
}

std::string spellRangeBegin(const Report& report, const LoadedRange& range) {
  return range.memory ? spellLocation(report.map.memories[*range.memory], range.offset)
                      : spellHex(report.map.outside[range.outside].base + range.offset, 8);
}

// The ranges of one content, those that adjoin each other as one.
Json rangesToJson(const Report& report, const Content& content) {
  Json ranges = Json::array();
  const LoadedRange* last = nullptr;
  for (const LoadedRange& range : report.images.getRanges()) {
    if (range.content != &content) continue;
    const bool isAdjacent = last != nullptr && last->memory == range.memory &&
                            last->outside == range.outside &&
                            last->offset + last->bytes == range.offset;
    last = &range;
    if (isAdjacent) {
      ranges.back()["bytes"] = ranges.back()["bytes"].get<std::uint64_t>() + range.bytes;
      continue;
    }
    const std::string& name = range.memory ? report.map.memories[*range.memory].name
                                           : report.map.outside[range.outside].name;
    ranges.push_back({{"address", spellRangeBegin(report, range)},
                      {"bytes", range.bytes},
                      {"memory", range.memory ? Json(name) : Json()}});
  }
  return ranges;
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
  const Shares shares(report);
  Table table;
  addMemories(report, shares, table);
  addOutside(report, shares, table);
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
  const Shares shares(report);
  JsonObject object(output);
  object.beginList("memories");
  for (std::size_t i = 0; i < report.map.memories.size(); ++i) {
    object.addElement(toJson(report, shares.memories[i], i));
  }
  object.endList();
  object.beginList("files");
  for (const Content& content : report.contents) {
    // GCOVR_EXCL_START: of one statement, gcov takes some lines for untouched.
    object.addElement({{"file", content.file},
                       {"format", nameOf(content.format)},
                       {"ranges", rangesToJson(report, content)}});
    // GCOVR_EXCL_STOP
  }
  object.endList();
  object.beginList("sets");
  for (const SetValue& set : report.sets) {
    object.addElement({{"place", set.place},
                       {"address", spellLocation(report.map.memories[set.memory], set.offset)},
                       {"bytes", spellBytes(set.bytes)}});
  }
  object.endList();
  object.beginList("outside");
  for (std::size_t i = 0; i < shares.outside.size(); ++i) {
    object.addElement({{"name", report.map.outside[i].name},
                       {"base", spellHex(report.map.outside[i].base, 8)},
                       {"skipped", shares.outside[i].bytes},
                       {"files", shares.outside[i].files}});
  }
  object.endList();
  if (report.differences != nullptr) writeDifferences(report, object);
  object.end(report.warnings);
}
