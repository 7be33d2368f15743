#include "inspect/located.h"

#include <algorithm>
#include <filesystem>

#include "inputs/widthfile.h"
#include "inspect/unlocated.h"
#include "layout/mapspelling.h"
#include "reports/position.h"
#include "reports/text.h"

namespace {

using std::to_string;

// The smallest address that reaches so many words.
int addressWidthFor(std::uint64_t numWords) {
  int width = 1;
  while (width < 63 && UINT64_C(1) << width < numWords) ++width;
  return width;
}

Json partToJson(const Locator& locator, const KnownMemory& memory, std::size_t part) {
  const Fit& fit = memory.parts[part];
  Json json = {{"words", fit.numWords}, {"bitsPerEbr", fit.split.bitsPerEbr}};
  if (!memory.widFiles.empty()) json["output"] = memory.widFiles[part];
  json["identifiers"] = locator.identifiersOf(fit);
  return json;
}

// "64 words of 16 bits (32 + 32)".
std::string spellShape(const KnownMemory& memory) {
  std::string parts;
  for (const Fit& part : memory.parts) {
    parts += (parts.empty() ? "" : " + ") + to_string(part.numWords);
  }
  return countOf(memory.known.numWords, "word") + " of " + countOf(memory.known.wordBits, "bit") +
         " (" + parts + ")";
}

std::string spellShape(const Memory& memory) {
  std::string parts;
  for (const Part& part : memory.parts) {
    parts += (parts.empty() ? "" : " + ") + to_string(part.words);
    if (part.lanes.size() > 1) parts += " in " + to_string(part.lanes.size()) + " lanes";
  }
  return countOf(memory.words, "word") + " of " + countOf(memory.wordBits, "bit") + " (" + parts +
         ")";
}

}  // namespace

std::vector<std::string> nameParts(const std::string& name, std::size_t numParts) {
  if (numParts == 1) return {name};
  std::vector<std::string> names;
  const std::filesystem::path path = name;
  for (std::size_t part = 0; part < numParts; ++part) {
    std::filesystem::path numbered = path;
    numbered.replace_filename(path.stem().string() + "-" + to_string(part) +
                              path.extension().string());
    names.push_back(numbered);
  }
  return names;
}

std::string spellWid(const Locator& locator, const KnownMemory& memory, const Fit& part) {
  return spellWidthFile(locator.identifiersOf(part),
                        {addressWidthFor(part.numWords), static_cast<int>(memory.known.wordBits)});
}

std::string summaryOf(const KnownMemory& memory) {
  const Fit& first = memory.parts.front();
  std::string text = memory.name + ": " + countOf(memory.known.numWords, "word") + " of " +
                     countOf(memory.known.wordBits, "bit") + ": " + memory.widFiles.front();
  if (memory.parts.size() > 1) {
    text += " to " + memory.widFiles.back() + ", each for " + countOf(first.numWords, "word");
    if (memory.parts.back().numWords != first.numWords) {
      text += ", the last for " + to_string(memory.parts.back().numWords);
    }
  }
  return withoutControls(text + "; " + describe(first.split)) + "\n";
}

Json toJson(const Locator& locator, const KnownMemory& memory) {
  Json json = {{"file", memory.file},
               {"words", memory.known.numWords},
               {"wordBits", memory.known.wordBits},
               {"located", memory.reason.empty()}};
  if (!memory.name.empty()) json["memory"] = memory.name;
  if (!memory.reason.empty()) {
    json["reason"] = memory.reason;
    return json;
  }
  json["parts"] = Json::array();
  for (std::size_t part = 0; part < memory.parts.size(); ++part) {
    json["parts"].push_back(partToJson(locator, memory, part));
  }
  return json;
}

std::string spellNewMap(const std::string& design, const KnownMemories& memories) {
  std::vector<NewMemory> described;
  for (const KnownMemory& memory : memories) {
    NewMemory& each = described.emplace_back();
    each.name = memory.name;
    each.wordBits = memory.known.wordBits;
    for (const Fit& part : memory.parts) each.words.push_back(part.numWords);
    for (const std::string& file : memory.widFiles) {
      each.widFiles.push_back(std::filesystem::path(file).filename());
    }
  }
  return spellMap(design, described);
}

std::string fitToMap(const Map& map, KnownMemories& located) {
  for (const KnownMemory& each : located) {
    if (std::ranges::find(map.memories, each.name, &Memory::name) == map.memories.end()) {
      return positionText(map.file) + "no memory is named " + each.name;
    }
  }
  for (const Memory& memory : map.memories) {
    const auto found = std::ranges::find(located, memory.name, &KnownMemory::name);
    if (found == located.end()) {
      return positionText(map.file, memory.line) + memory.name + " is to be located, too: give " +
             memory.name + "=FILE";
    }
    if (spellShape(memory) != spellShape(*found)) {
      return positionText(map.file, memory.line) + memory.name + " has " + spellShape(memory) +
             ", located are " + spellShape(*found);
    }
    for (const Part& part : memory.parts) found->widFiles.push_back(part.lanes.front().widFile);
  }
  return "";
}
