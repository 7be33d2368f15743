// BitstreamTraverser: a cursor over a Bitstream.
#ifndef RAMGRAFT_STEPS_RAMGRAFTTRAVERSE_H
#define RAMGRAFT_STEPS_RAMGRAFTTRAVERSE_H

#include <cstdint>
#include <list>
#include <string>

#include "base/ramgraftbstream.h"

/// A cursor that searches for, expects and skips bits. It does not own its Bitstream, which must
/// outlive it. Patterns are binary-digit strings in stream order. find, expect and skip move the
/// cursor; they append every bit read, in stream order, to the caller's `newBits`. "Not found" and
/// "not as expected" are ordinary results; nothing is printed.
class BitstreamTraverser {
 public:
  /// A cursor at bit 0 of `bitstream`, which must not be null and may still be empty.
  explicit BitstreamTraverser(Bitstream* bitstream);

  /// Moves the cursor to bit `index`, which must be below the stream's number of bits.
  void setBitIndex(unsigned long index);
  /// Index of the next bit to be read; the number of bits when the cursor is at the end.
  unsigned long getBitIndex() const { return bitIndex; }
  /// Moves the cursor one bit on, unchecked.
  void incrementBitIndex() { ++bitIndex; }
  /// The stream walked; never null.
  Bitstream* getBitstream() const { return bs; }
  /// Bits from the cursor to the end of the stream; 0 at or past the end.
  unsigned long getBitsLeft() const;

  /// Finds the first occurrence of `pattern` at or after the cursor that ends before the stream's
  /// last bit. True: the cursor is on the first bit after it. False: the cursor is on the last bit
  /// if an occurrence ended there, else at the end. `newBits` keeps every bit passed.
  bool findBits(const std::string& pattern, std::list<bool>& newBits);
  /// True if the next bits equal `pattern`; the cursor is then after them. On false, also when the
  /// stream ends inside the pattern, cursor and `newBits` are as before.
  bool expectBits(const std::string& pattern, std::list<bool>& newBits);
  /// True if the next `count` bits all equal `expected` ('0' or '1'); at the end of the stream the
  /// bits that exist decide. On false cursor and `newBits` are as before.
  bool expectBits(char expected, int count, std::list<bool>& newBits);
  /// Passes over `bitsToSkip` bits and appends them to `text` as digits. At least one bit must
  /// remain after them. A negative count moves nothing.
  void skipBits(int bitsToSkip, std::list<bool>& newBits, std::string& text);
  void skipBits(int bitsToSkip, std::list<bool>& newBits);

 private:
  // The self-check binds a traverser to another stream, so that its cursor is past the end.
  friend bool test_findBits(BitstreamTraverser& traverser);
  friend bool test_expectBits(BitstreamTraverser& traverser);

  void appendBits(std::uint64_t begin, std::uint64_t end, std::list<bool>& newBits) const;
  bool matches(const std::string& pattern, std::uint64_t begin) const;

  std::uint64_t bitIndex = 0;
  Bitstream* bs;
};

#endif
