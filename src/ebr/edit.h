// Replacing the contents of one EBR in a stream.
#ifndef RAMGRAFT_EBR_EDIT_H
#define RAMGRAFT_EBR_EDIT_H

#include <cstdint>

#include "base/ramgraftbstream.h"
#include "ebr/columns.h"
#include "ebr/command.h"
#include "ebr/crcfield.h"
#include "ebr/search.h"

/// Payload words that a run writes into an EBR of `frameCount` frames whose column has
/// `columnBits` data bits: all words of the payload, but no more than the physical line fills.
std::uint64_t writtenWords(std::uint64_t frameCount, std::uint64_t columnBits);

/// What a user should hear about contents that were replaced.
struct Edit {
  CrcCheck oldCrc;
  std::uint64_t givenWords = 0;    ///< payload words that the column fills
  std::uint64_t writtenWords = 0;  ///< payload words that were written; if fewer, the rest is lost
  /// Bit index of a command that a search passes over now, because the new contents and the CRC end
  /// like an address section: the beginning of that command reads as the section's identifier.
  std::uint64_t hiddenCommand = NOT_FOUND;
};

/// Overwrites the payload of a command without fault with the column of EBR number `ebr`, followed
/// by zeros, and makes its CRC right.
Edit replaceContents(Bitstream& bitstream, const EbrCommand& command, EbrColumns& columns,
                     std::uint64_t ebr);

#endif
