// Text words as $readmemh reads them: hexadecimal words at white space, word addresses, comments.
#ifndef RAMGRAFT_INPUTS_WORDTEXT_H
#define RAMGRAFT_INPUTS_WORDTEXT_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>

/// Words with consecutive indexes that are in consecutive lines, equally many in each but the last.
struct WordRun {
  std::uint64_t firstWord = 0;           ///< index of the first word
  std::uint64_t words = 0;               ///< at least one
  std::uint64_t wordBits = 0;            ///< of each word
  std::uint64_t line = 0;                ///< of the first word, from 1
  std::uint64_t lineWords = 0;           ///< words in each line
  std::span<const unsigned char> bytes;  ///< as many for each word as its bits need
};

/// Takes one of a text's runs, which come in the text's order; one of more than 1 MiB comes in
/// several. Its bytes are there only until the call returns, so that the words of a text take no
/// more memory than the text. Returns a sentence that ends the reading, or nothing.
using WordVisitor = std::function<std::string(const WordRun&)>;

/// What is wrong in a text, and where.
struct WordTextFault {
  std::string text;          ///< empty if nothing is wrong
  std::uint64_t line = 0;    ///< from 1; 0 if the text is the visitor's sentence
  std::uint64_t column = 0;  ///< byte of the line, from 1
};

/// Reads words of `wordBits` bits; with 0, a word has the bits of its digits, and all must have
/// equally many. The first word has index 0, each further one the next; "@" and a hexadecimal
/// number sets the index of the word that follows. "//" and "#" begin comments that end with the
/// line, "/*" one that ends with "*/". '_' may come anywhere in a number but first. The bytes of a
/// word are in the given order.
WordTextFault readWordText(std::string_view text, std::uint64_t wordBits, std::endian order,
                           const WordVisitor& visit);

#endif
