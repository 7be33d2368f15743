#include "load/content.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "firmware/elffile.h"
#include "firmware/format.h"
#include "inputs/loading.h"
#include "inputs/wordtext.h"
#include "layout/number.h"
#include "load/texts.h"
#include "reports/inputs.h"
#include "reports/position.h"
#include "reports/text.h"

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

// Some systems write names in upper case.
bool isBinary(const std::string& file) {
  std::string end = file.substr(file.size() - std::min<std::size_t>(file.size(), 4));
  for (char& character : end) character |= 0x20;
  return end == ".bin";
}

ContentFormat formatOf(const Wanted& wanted, std::span<const unsigned char> bytes) {
  if (wanted.format) return *wanted.format;
  if (!wanted.place.empty() && isBinary(wanted.file)) return ContentFormat::BIN;
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
  if (!text)
    return wanted.place + ": no place: neither a number of at most 64 bits nor NAME+OFFSET";
  place.value = text->number;
  if (text->name.empty()) return "";
  place.memory = findMemory(map, text->name);
  return place.memory ? "" : wanted.place + ": " + map.file + " has no memory " + text->name;
}

// Turns the place of text words into a byte of a memory where a word begins.
std::string enterMemory(const Wanted& wanted, const Map& map, const AddressSpace& addresses,
                        Place& place) {
  if (!place.memory) {
    const AddressRange* const range = addresses.find(place.value);
    if (range == nullptr || range->isOutside) {
      return wanted.file + ": text words need a memory, and " + spellHex(place.value) +
             " is in none";
    }
    place = {range->index, place.value - range->first};
  }
  const Memory& memory = map.memories[*place.memory];
  if (place.value % memory.wordBytes() == 0) return "";
  return wanted.place + ": not at the beginning of a word of " + memory.name + ", which has " +
         countOf(memory.wordBytes(), "byte");
}

// Text words become pieces of bytes in the order of their memory.
std::string readWords(const Content& content, const Map& map, const PieceVisitor& visit) {
  const Memory& memory = map.memories[*content.place.memory];
  const std::uint64_t wordBytes = memory.wordBytes();
  bool isEmpty = true;
  const auto visitRun = [&](const WordRun& run) -> std::string {
    isEmpty = false;
    if (run.firstWord > UINT64_MAX / wordBytes) {
      return positionText(content.file, run.line) + "word " + spellHex(run.firstWord) +
             " has no room in " + nameWithLine(map, memory);
    }
    return visit({run.firstWord * wordBytes, run.bytes, "", run.line, run.lineWords * wordBytes});
  };
  const WordTextFault fault = readWordText(content.bytes.text(), memory.wordBits,
                                           memory.order.value_or(std::endian::big), visitRun);
  if (fault.line != 0) return positionText(content.file, fault.line, fault.column) + fault.text;
  return isEmpty ? content.file + ": holds no words" : fault.text;
}

std::string readBytes(const std::string& file, Content& content) {
  content.file = file;
  const InputFault fault =
      loadBytes(file == "-" ? "/dev/stdin" : file, content.bytes, content.identity);
  return fault.kind == InputFault::Kind::NONE ? "" : textOf(fault);
}

bool saysAddresses(ContentFormat format) {
  return format != ContentFormat::BIN && format != ContentFormat::WORDS;
}

}  // namespace

std::string fileOf(const std::string& argument) { return parseArgument(argument).file; }

std::string_view nameOf(ContentFormat format) { return NAMES[static_cast<std::size_t>(format)]; }

std::optional<Place> Content::placeOf(const Symbol& symbol) const {
  return symbol.isAbsolute ? Place{std::nullopt, symbol.address} : place.after(symbol.address);
}

std::string Content::originOf(const Piece& piece, std::uint64_t offset) const {
  if (!piece.section.empty()) return positionText(file) + piece.section;
  const std::uint64_t line = piece.lineOf(offset);
  return line == 0 ? file : file + ", line " + std::to_string(line);
}

std::string openContent(const std::string& argument, const Map& map, const AddressSpace& addresses,
                        Content& content) {
  const Wanted wanted = parseArgument(argument);
  std::string fault;
  if (!wanted.place.empty()) fault = resolve(wanted, map, content.place);
  if (fault.empty()) fault = readBytes(wanted.file, content);
  if (!fault.empty()) return fault;
  content.format = formatOf(wanted, {content.bytes.data(), content.bytes.size()});
  if (wanted.place.empty() && !saysAddresses(content.format)) return noAddress(wanted.file, map);
  if (content.format != ContentFormat::WORDS) return "";
  return enterMemory(wanted, map, addresses, content.place);
}

std::string readPieces(const Content& content, const Map& map, FirmwareFacts& facts,
                       const PieceVisitor& visit) {
  const std::span<const unsigned char> bytes(content.bytes.data(), content.bytes.size());
  switch (content.format) {
    case ContentFormat::ELF:
      return readFirmware(Format::ELF, content.file, bytes, facts, visit);
    case ContentFormat::INTEL_HEX:
      return readFirmware(Format::INTEL_HEX, content.file, bytes, facts, visit);
    case ContentFormat::S_RECORD:
      return readFirmware(Format::S_RECORD, content.file, bytes, facts, visit);
    case ContentFormat::BIN:
      return bytes.empty() ? content.file + ": holds no bytes" : visit({0, bytes, "", 0, 0});
    case ContentFormat::WORDS:
      break;
  }
  return readWords(content, map, visit);
}

std::string readSymbols(Content& content) {
  if (content.format != ContentFormat::ELF) return "";
  return readElfSymbols(content.file, {content.bytes.data(), content.bytes.size()},
                        content.symbols);
}

std::string readSymbolFile(const std::string& file, Content& content) {
  content.format = ContentFormat::ELF;
  const std::string fault = readBytes(file, content);
  return fault.empty() ? readSymbols(content) : fault;
}
