#include "survey/contents.h"

#include <algorithm>

#include "ebr/payload.h"

ContentsFacts readContents(const Bitstream& bitstream, const EbrCommand& command,
                           std::uint64_t numWords, std::vector<unsigned char>& contents) {
  contents.resize(numWords);
  ContentsFacts facts;
  facts.ninthBits = readPayload(bitstream, command.payloadIndex, contents);
  facts.crc = checkCrc(bitstream, command);
  return facts;
}

bool hasBitsFrom(std::uint64_t begin, std::span<const unsigned char> contents) {
  if (begin / 8 >= contents.size()) return false;
  const std::span<const unsigned char> rest = contents.subspan(begin / 8);
  return rest.front() >> begin % 8 != 0 ||
         std::any_of(rest.begin() + 1, rest.end(), [](unsigned char byte) { return byte != 0; });
}
