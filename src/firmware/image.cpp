#include "firmware/image.h"

std::uint64_t Piece::lineOf(std::uint64_t offset) const {
  return recordBytes == 0 ? line : line + offset / recordBytes;
}
