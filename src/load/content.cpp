#include "load/content.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "files/read.h"
#include "firmware/elffile.h"
#include "firmware/format.h"
#include "firmware/intelhex.h"
#include "firmware/srecord.h"
#include "inputs/wordtext.h"
#include "layout/deal.h"
#include "layout/number.h"
#include "load/texts.h"
#include "reports/inputs.h"

namespace {

constexpr std::array<std::string_view, 5> NAMES = {"elf", "hex", "srec", "bin", "mem"};

// What the command line says of a content.
struct Wanted {
  std::string place;                    // empty if the file says its addresses
  std::optional<ContentFormat> format;  // nothing if the file shows it
  std::string file;
};

Wanted parseArgument(const std::string& argument) {
  auto [place, file] = splitAssignment(argument);
  for (std::size_t i = 0; i < NAMES.size(); ++i) {
    const std::string prefix = std::string(NAMES[i]) + ":";
    if (!file.starts_with(prefix)) continue;
    return {place, static_cast<ContentFormat>(i), file.substr(prefix.size())};
  }
  return {place, std::nullopt, file};
}

ContentFormat toContentFormat(Format format) {
  switch (format) {
    case Format::ELF:
      return ContentFormat::ELF;
    case Format::INTEL_HEX:
      return ContentFormat::INTEL_HEX;
    case Format::S_RECORD:
      break;
  }
  return ContentFormat::S_RECORD;
}

ContentFormat formatOf(const Wanted& wanted, std::span<const unsigned char> bytes) {
  if (wanted.format) return *wanted.format;
  if (!wanted.place.empty() && wanted.file.ends_with(".bin")) return ContentFormat::BIN;
  const std::optional<Format> detected = detectFormat(bytes);
  return detected ? toContentFormat(*detected) : ContentFormat::WORDS;
}

std::string noAddress(const std::string& file, const Map& map) {
  const std::string memory = map.memories.empty() ? "NAME" : map.memories.front().name;
  return file + " has no address: write 0x100=" + file + " or " + memory + "=" + file;
}

// Finds where a content goes.
std::string resolve(const Wanted& wanted, const Map& map, Place& place) {
  const std::optional<PlaceText> text = parsePlace(wanted.place);
  if (!text) return wanted.place + ": no place: a number that doesn't fit 64 bits";
  place.value = text->number;
  if (text->name.empty()) return "";
  place.memory = findMemory(map, text->name);
  return place.memory ? "" : wanted.place + ": " + map.file + " has no memory " + text->name;
}

// The memory of a place and the byte of it.
std::string locateInMemory(const Wanted& wanted, const Map& map, const AddressSpace& addresses,
                           Place& place) {
  if (!place.memory) {
    const AddressRange* range = addresses.find(place.value);
    if (range == nullptr || range->isOutside) {
      return wanted.file + ": text words need a memory, and " + spellHex(place.value) +
             " is in none";
    }
    place = {range->index, place.value - range->first};
  }
  const Memory& memory = map.memories[*place.memory];
  if (place.value % memory.wordBytes() == 0) return "";
  return wanted.place + ": inside a word of " + memory.name + ", which has " +
         std::to_string(memory.wordBytes()) + " bytes";
}

// Text words become pieces of their memory's bytes.
std::string readWords(const Wanted& wanted, const Map& map, const AddressSpace& addresses,
                      Content& content) {
  if (std::string fault = locateInMemory(wanted, map, addresses, content.place); !fault.empty()) {
    return fault;
  }
  const Memory& memory = map.memories[*content.place.memory];
  WordText words;
  std::string fault =
      readWordText(content.file, content.bytes.text(), memory.wordBits, words);
  if (!fault.empty()) return fault;
  return "";
}

std::string readPieces(const Wanted& wanted, const Map& map, const AddressSpace& addresses,
                       Content& content) {
  const std::span<const unsigned char> bytes(content.bytes.data(), content.bytes.size());
  switch (content.format) {
    case ContentFormat::ELF:
      return readElf(content.file, bytes, content.image);
    case ContentFormat::INTEL_HEX:
      return readIntelHex(content.file, bytes, content.image);
    case ContentFormat::S_RECORD:
      return readSRecord(content.file, bytes, content.image);
    case ContentFormat::BIN:
      if (bytes.empty()) return content.file + ": holds no bytes";
      content.image.pieces.push_back({0, bytes, "", 0, 0});
      return "";
    case ContentFormat::WORDS:
      break;
  }
  return readWords(wanted, map, addresses, content);
}

}  // namespace
