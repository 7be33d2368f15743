// Designs whose memories are deeper than an EBR, for tests and fuzzers of locate.
#ifndef DEEPDESIGN_H
#define DEEPDESIGN_H

#include <map>

#include "fixture.h"

/// A memory in parts of equal depth, of which the last may be shorter, and its random words as
/// binary digits.
struct Deep {
  std::string name;
  std::size_t numEbrs = 0, bitsPerEbr = 0, depth = 0;  ///< EBRs and words of a part
  std::vector<std::string> words;

  std::size_t wordBits() const { return numEbrs * bitsPerEbr; }
  std::size_t numParts() const { return (words.size() + depth - 1) / depth; }
};

/// Makes up memory number `number`, named "a" and so on; with `isSmall`, one for a fuzzer's input.
Deep makeDeep(std::mt19937_64& random, std::size_t number, bool isSmall);
/// Puts the memories' EBRs, identifiers of 12 bits, to random places of a stream, `stream` as
/// digits. Returns their width files by name, as locate writes them.
std::map<std::string, std::string> placeAll(std::mt19937_64& random,
                                            const std::vector<Deep>& memories, std::string& stream);
/// The words in hexadecimal, one a line.
std::string spellMem(const Deep& deep);

#endif
