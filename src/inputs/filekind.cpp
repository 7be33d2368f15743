#include "inputs/filekind.h"

FileKind fileKindOf(std::string_view bytes) {
  using namespace std::string_view_literals;
  constexpr std::size_t LOOKED_AT = 4096;
  for (const std::string_view mark : {"\xEF\xBB\xBF"sv, "\xFF\xFE"sv, "\xFE\xFF"sv}) {
    if (bytes.starts_with(mark)) return FileKind::BYTE_ORDER_MARK;
  }
  if (bytes.starts_with("\x7F"
                        "ELF")) {
    return FileKind::ELF;
  }
  if (bytes.starts_with("\x1F\x8B")) return FileKind::GZIP;
  const bool hasZero = bytes.substr(0, LOOKED_AT).find('\0') != std::string_view::npos;
  return hasZero ? FileKind::BINARY : FileKind::TEXT;
}
