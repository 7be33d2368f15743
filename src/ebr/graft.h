// Grafting: replacing the contents of the listed EBRs in a stream.
#ifndef RAMGRAFT_EBR_GRAFT_H
#define RAMGRAFT_EBR_GRAFT_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/ramgraftbstream.h"
#include "ebr/columns.h"
#include "ebr/command.h"
#include "ebr/crcfield.h"
#include "ebr/lookup.h"
#include "ebr/sectiontable.h"

/// Payload words that a run writes into an EBR of `frameCount` frames whose column has
/// `columnBits` data bits: all words of the payload, but no more than the physical line fills.
std::uint64_t writableWords(std::uint64_t frameCount, std::uint64_t columnBits);

/// What a user should hear about contents that were replaced.
struct GraftReport {
  CrcCheck oldCrc;
  std::uint64_t givenWords = 0;    ///< payload words that the column fills
  std::uint64_t writtenWords = 0;  ///< payload words that were written; if fewer, the rest is lost
};

/// Overwrites the payload of a command without fault with the column of EBR number `ebr`, followed
/// by zeros, and makes its CRC right.
GraftReport replaceContents(Bitstream& bitstream, const EbrCommand& command, EbrColumns& columns,
                            std::uint64_t ebr);

/// What is called for each EBR while the listed EBRs are grafted, with its number.
struct GraftSteps {
  /// Its section was found, and nothing of it is replaced yet. The command may have a fault.
  std::function<void(std::size_t ebr, const Lookup& lookup)> found;
  /// Its contents were replaced.
  std::function<void(std::size_t ebr, const GraftReport& report)> grafted;
  /// After the last EBR, for each command, listed or not, at which a search arrived before and
  /// doesn't any more.
  std::function<void(const HiddenCommand& command)> lost;
  /// After that, if a CRC isn't right now or can't be checked: of how many EBRs.
  std::function<void(std::uint64_t numEbrs)> lostCrcs;
};

/// Replaces the contents of the EBRs that carry the wids, of which there is at least one, in their
/// order, by the columns of `words`. Each EBR is looked for in the stream as the ones before it
/// left it. Ends at the first EBR that can't be used and returns its look-up; the EBRs before it
/// are then replaced already. Returns nothing if all were replaced.
std::optional<Lookup> graftEbrs(Bitstream& bitstream, const std::vector<std::string>& wids,
                                const MemoryWords& words, const GraftSteps& steps);

#endif
