#include "ebr/section.h"

#include <algorithm>

#include "ebr/format.h"

std::uint64_t identifierIndexOf(const Bitstream& bitstream, std::uint64_t section) {
  return std::min<std::uint64_t>(section + IDENTIFIER_OFFSET, bitstream.getNumBits());
}

bool hasIdentifier(const Bitstream& bitstream, std::uint64_t section,
                   std::uint64_t identifierBits) {
  const std::uint64_t bitsLeft = bitstream.getNumBits() - identifierIndexOf(bitstream, section);
  return bitsLeft > std::max<std::uint64_t>(identifierBits, 1);
}

std::uint64_t endOfSection(const Bitstream& bitstream, std::uint64_t section,
                           std::uint64_t identifierBits) {
  if (!hasIdentifier(bitstream, section, identifierBits)) return bitstream.getNumBits();
  return identifierIndexOf(bitstream, section) + identifierBits;
}

std::string identifierOf(const Bitstream& bitstream, std::uint64_t section,
                         std::uint64_t identifierBits) {
  std::string identifier;
  const std::uint64_t index = identifierIndexOf(bitstream, section);
  bitstream.appendDigits(index, index + identifierBits, identifier);
  return identifier;
}
