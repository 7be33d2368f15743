// Part of the public interface: a run of the tool without files. Bytes in memory are grafted,
// nothing is printed.
#ifndef RAMGRAFT_RUN_RAMGRAFTMEMORY_H
#define RAMGRAFT_RUN_RAMGRAFTMEMORY_H

#include <cstdint>
#include <string>
#include <vector>

/// What became of one EBR. Without its command in the bitstream, only `identifier` and `error` have
/// a meaning; with a faulty one, `bitIndex`, too.
struct EbrReport {
  std::string identifier;        ///< the wid without the prefix "0b"
  std::string error;             ///< a sentence: why it can't be used; empty if it was grafted
  std::uint64_t bitIndex = 0;    ///< of the command's first bit, counted from the first byte's
                                 ///< most significant bit
  std::uint64_t frameCount = 0;  ///< frames of 72 bits that the payload has
  std::string oldCrc;            ///< the CRC before: "right", "empty" (0 and not right), "wrong" or
                                 ///< "uncheckable" (it covers bits of itself)
  std::uint64_t givenWords = 0;  ///< payload words (bytes of contents) that the memory words give
  std::uint64_t writtenWords = 0;  ///< payload words that were written, those after the given ones
                                   ///< with zeros; if fewer than given, the rest is lost
  std::vector<std::string> warnings;  ///< sentences: what is probably a mistake
};

/// What became of a graft.
struct MemoryGraft {
  std::string error;                  ///< a sentence: why nothing was changed; empty after success
  std::vector<std::string> warnings;  ///< sentences about the words and about EBRs that contents
                                      ///< hide now: what is probably a mistake
  std::vector<EbrReport> ebrs;        ///< of each wid in turn, up to the first that can't be used

  bool isDone() const { return error.empty(); }
};

/// Replaces the contents of the listed EBRs in the bytes of a bitstream, as a run of the tool does
/// in a file. The number of bytes stays, and unless everything succeeds they stay unchanged.
///
/// `wids` are the lines of a width file without the last one, with or without the prefix "0b", the
/// EBR with the lowest bits of every memory word first; all must have the same length. `dataWidth`
/// is the number of bits of a memory word, at least one for each wid. `words` are the lines of a
/// memory file without comments: memory words in hexadecimal, the first digit most significant.
///
/// Threads may call it at the same time for different bytes. Bad input is reported in the result;
/// the only exception is std::bad_alloc, the bytes unchanged.
MemoryGraft graftInMemory(std::vector<unsigned char>& bitstream,
                          const std::vector<std::string>& wids, int dataWidth,
                          const std::vector<std::string>& words);

#endif
