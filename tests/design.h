// Designs with several memories, for tests and fuzzers of what works with maps.
#ifndef DESIGN_H
#define DESIGN_H

#include <string>
#include <vector>

#include "fixture.h"

/// A lane of a part: its width file, and what is in it.
struct LaneDesign {
  std::string widFile;
  std::vector<std::string> wids;
  unsigned bitsPerEbr = 0, firstBit = 0;  ///< firstBit: of a word, the lowest one is 0

  unsigned bits() const { return static_cast<unsigned>(wids.size()) * bitsPerEbr; }
};

/// Consecutive words.
struct PartDesign {
  unsigned firstWord = 0, words = 0;
  std::vector<LaneDesign> lanes;
};

/// A memory and the words that are to be in it, as binary digits.
struct MemoryDesign {
  std::string name;
  bool isBig = false;
  unsigned base = 0, wordBits = 0;
  std::string fill;  ///< a word
  std::vector<std::string> words;
  std::vector<PartDesign> parts;

  bool hasBytes() const { return wordBits % 8 == 0; }
  unsigned bytes() const { return static_cast<unsigned>(words.size()) * wordBits / 8; }
  /// Puts a byte at an offset from the memory's base.
  void setByte(unsigned offset, unsigned char byte);
};

/// A bitstream and the memories in it.
struct Design {
  std::string stream;  ///< of in.bit
  unsigned identifierBits = 0;
  std::vector<MemoryDesign> memories;
};

/// Makes up a design and leaves its in.bit, design.toml and width files in the working folder.
Design makeDesign(std::mt19937_64& random);

/// Writes a file.
void writeFile(const std::string& name, const std::string& bytes);

/// Runs ramgraft-load in the working folder. All that it prints, then its status.
std::string load(std::vector<std::string> arguments);

/// What a chain of ramgraft runs makes of `stream`, with the complete memory file of every part and
/// lane of the memories that have words in `touched` (one entry for each memory and part). Empty if
/// one of the runs fails.
std::string graftChain(const Design& design, std::string stream,
                       const std::vector<std::vector<bool>>& touched);

/// The first EBR in a touched part whose payload and CRC in `output` aren't what a graft gives it
/// in a stream of its own; empty if there is none.
std::string firstWrongEbr(const Design& design, const std::string& output,
                          const std::vector<std::vector<bool>>& touched);

#endif
