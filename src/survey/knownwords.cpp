#include "survey/knownwords.h"

namespace {

// Where a bit of a rearranged word comes from. Bit 0 is a word's first one in the row.
struct Source {
  std::uint64_t word, bit;
};

Source sourceOf(std::uint64_t word, std::uint64_t bit, std::uint64_t wordBits,
                Rearrangement rearrangement) {
  switch (rearrangement) {
    case Rearrangement::REVERSED_BYTES:
      return {word, wordBits - 8 - bit / 8 * 8 + bit % 8};
    case Rearrangement::REVERSED_BITS:
      return {word, wordBits - 1 - bit};
    case Rearrangement::EVEN_WORDS:
      return {2 * word, bit};
    default:
      return {2 * word + 1, bit};
  }
}

}  // namespace

KnownWords rearrange(const KnownWords& known, Rearrangement rearrangement) {
  KnownWords result;
  result.wordBits = known.wordBits;
  result.numWords = known.numWords;
  if (rearrangement == Rearrangement::EVEN_WORDS) result.numWords = (known.numWords + 1) / 2;
  if (rearrangement == Rearrangement::ODD_WORDS) result.numWords = known.numWords / 2;
  result.words.appendZeros((result.numWords * result.wordBits + 7) / 8);
  const auto from = known.words.getBytes();
  const auto to = result.words.getBytes();
  std::uint64_t place = 0;
  for (std::uint64_t word = 0; word < result.numWords; ++word) {
    for (std::uint64_t bit = 0; bit < result.wordBits; ++bit, ++place) {
      const Source source = sourceOf(word, bit, known.wordBits, rearrangement);
      const std::uint64_t at = source.word * known.wordBits + source.bit;
      const unsigned value = from[at / 8] >> at % 8 & 1U;
      to[place / 8] = static_cast<unsigned char>(to[place / 8] | value << place % 8);
    }
  }
  return result;
}
