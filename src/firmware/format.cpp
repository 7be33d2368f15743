#include "firmware/format.h"

#include <string_view>

#include "base/digits.h"
#include "firmware/elffile.h"
#include "firmware/intelhex.h"
#include "firmware/srecord.h"

std::optional<Format> detectFormat(std::span<const unsigned char> bytes) {
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  if (text.starts_with("\x7F"
                       "ELF"))
    return Format::ELF;
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos || first + 1 == text.size()) return {};
  const int digit = hexDigitValue(text[first + 1]);
  if (text[first] == ':' && digit >= 0) return Format::INTEL_HEX;
  if (text[first] == 'S' && digit >= 0 && digit <= 9) return Format::S_RECORD;
  return {};
}

std::string readFirmware(Format format, const std::string& fileName,
                         std::span<const unsigned char> bytes, FirmwareFacts& facts,
                         const PieceVisitor& visit) {
  if (format == Format::ELF) return readElf(fileName, bytes, facts, visit);
  if (format == Format::INTEL_HEX) return readIntelHex(fileName, bytes, visit);
  return readSRecord(fileName, bytes, visit);
}
