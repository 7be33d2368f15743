// Text words as $readmemh reads them: hexadecimal words at white space, word addresses, comments.
#ifndef RAMGRAFT_INPUTS_WORDTEXT_H
#define RAMGRAFT_INPUTS_WORDTEXT_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Words with consecutive indexes that are in consecutive lines, equally many in each but the last.
struct WordRun {
  std::uint64_t firstWord = 0;  ///< index of the first word
  std::uint64_t words = 0;      ///< at least one
  std::uint64_t line = 0;       ///< of the first word, from 1
  std::uint64_t lineWords = 0;  ///< words in each line
  std::size_t firstByte = 0;    ///< where the first word is in WordText::bytes
};

/// The words of a text, in its order.
struct WordText {
  std::uint64_t wordBits = 0;  ///< of each word; 0 only if there are no words
  std::vector<WordRun> runs;
  std::vector<unsigned char> bytes;  ///< of all runs, as many for each word as its bits need
};

/// What is wrong in a text, and where.
struct WordTextFault {
  std::string text;          ///< empty if nothing is wrong
  std::uint64_t line = 0;    ///< from 1
  std::uint64_t column = 0;  ///< byte of the line, from 1
};

/// Reads words of `wordBits` bits into `words`, which is fresh; with 0, a word has the bits of its
/// digits, and all must have equally many. The first word has
/// index 0, each further one the next; "@" and a hexadecimal number sets the index of the word that
/// follows. "//" and "#" begin comments that end with the line, "/*" one that ends with "*/". '_'
/// may come anywhere in a number but first. The bytes of a word are in the given order. Indexes
/// take no memory.
WordTextFault readWordText(std::string_view text, std::uint64_t wordBits, std::endian order,
                           WordText& words);

#endif
