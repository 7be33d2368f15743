// Each reader of firmware on any bytes. What one of them accepts must be sound.
#include <algorithm>

#include "../tests/firmwarefiles.h"
#include "firmware/elffile.h"
#include "firmware/format.h"
#include "fixture.h"

namespace {

bool isInside(std::span<const unsigned char> part, std::span<const unsigned char> whole) {
  return part.data() >= whole.data() && part.data() + part.size() <= whole.data() + whole.size();
}

void checkSymbols(const std::vector<Symbol>& symbols, std::span<const unsigned char> file) {
  for (const Symbol& symbol : symbols) {
    require(
        !symbol.name.empty() &&
        isInside({reinterpret_cast<const unsigned char*>(symbol.name.data()), symbol.name.size()},
                 file));
  }
  require(std::is_sorted(symbols.begin(), symbols.end(),
                         [](const Symbol& a, const Symbol& b) { return a.name < b.name; }));
}

void check(Format format, std::span<const unsigned char> file) {
  std::uint64_t bytes = 0;
  const auto checkPiece = [&](const Piece& piece) {
    require(!piece.bytes.empty() && UINT64_MAX - piece.address >= piece.bytes.size() - 1);
    require(format != Format::ELF || isInside(piece.bytes, file));
    require(piece.section.empty() != (format == Format::ELF));
    bytes += piece.bytes.size();
    const std::uint64_t line = piece.lineOf(piece.bytes.size() - 1);
    require(line <= static_cast<std::uint64_t>(std::count(file.begin(), file.end(), '\n') + 1));
    return "";
  };
  FirmwareFacts facts;
  const std::string fault = readFirmware(format, "f", file, facts, checkPiece);
  require(fault.empty() || fault.starts_with("f: ") || fault.starts_with("f, line "));
  if (!fault.empty()) return;
  require(bytes != 0 && bytes <= file.size());
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::vector<unsigned char> file(data, data + size);
  for (const Format format : {Format::ELF, Format::INTEL_HEX, Format::S_RECORD}) {
    check(format, file);
  }
  std::vector<Symbol> symbols;
  if (readElfSymbols("f", file, symbols).empty()) checkSymbols(symbols, file);
  require(std::equal(file.begin(), file.end(), data));
  return 0;
}

std::string makeSeed(std::mt19937_64& random) {
  std::string seed;
  const std::uint64_t kind = random() % 3;
  for (std::uint64_t n = 1 + random() % 9; n > 0; --n) {
    const std::string data(random() % 256, static_cast<char>(random()));
    const std::uint64_t type = 1 + random() % 3;
    if (kind == 1)
      seed += random() % 4 == 0 ? hexRecord(4, 0, {"\0\7", 2}) : hexRecord(0, random() >> 49, data);
    if (kind == 2) seed += sRecord(type, random() >> 48, data.substr(0, 250));
  }
  if (kind == 1) seed += hexRecord(1, 0, "");
  if (kind == 2) seed += sRecord(7 + random() % 3, 0, "");
  if (kind == 0) seed = elfFile(random() % 2 != 0, random() % 2 != 0);
  if (random() % 2 != 0) seed[random() % seed.size()] = static_cast<char>(random());
  return seed;
}
