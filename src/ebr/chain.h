// EbrSectionMap: where the EBR address sections stand.
#ifndef RAMGRAFT_EBR_CHAIN_H
#define RAMGRAFT_EBR_CHAIN_H

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/ramgraftbstream.h"

/// Finds the address section of one wid after the other as a search from the stream's start would
/// find it each time, but remembers the chain of sections and looks at every bit only once, and
/// again where something was written. (Streams built so that each write takes sections away from
/// the chain or adds some still cost the length of the chain for each wid.)
///
/// The chain is what such a search visits: its first section is the first in the stream, and each
/// further one the first that begins at or after the end of the identifier of the one before.
/// Sections that begin inside an identifier are therefore no part of it. The chain is followed only
/// as far as the wids ask for.
///
/// Refers to the stream and to the wids, which must outlive it. Every change to the stream must be
/// told by bitsChanged().
class EbrSectionMap {
 public:
  enum class Outcome {
    FOUND,
    NO_SECTION,   ///< the stream holds no further section
    RAN_OFF_END,  ///< a section came up with too few bits behind it for an identifier
  };

  /// `wids` must not be empty; the length of the first one is the width of every identifier.
  EbrSectionMap(const Bitstream& bitstream, const std::vector<std::string>& wids);

  /// Finds the first section of the chain that carries `wid`, one of the constructor's. Sets
  /// `identifierIndex` to the index of the first bit of its identifier when the outcome is FOUND;
  /// at least one bit then stands behind the identifier.
  Outcome find(const std::string& wid, std::uint64_t& identifierIndex);

  /// Brings the chain up to date after the bits [begin, end) were overwritten, searching again
  /// only where a section could have come up or gone.
  void bitsChanged(std::uint64_t begin, std::uint64_t end);

 private:
  using Chain = std::vector<std::uint64_t>;

  std::uint64_t identifierOf(std::uint64_t section) const;
  std::uint64_t endOf(std::uint64_t section) const;
  bool hasIdentifier(std::uint64_t section) const;
  bool carries(std::uint64_t section, const std::string& wid) const;
  bool follow();
  void noteCandidate(std::uint64_t section);
  void replace(Chain::iterator first, Chain::iterator last, const Chain& found);

  const Bitstream& bitstream;
  std::uint64_t widLength;
  Chain chain;                 ///< bit index of each section's opcode, ascending
  std::uint64_t searched = 0;  ///< the chain is known for sections that begin before this bit
  /// For each wid a bit index before which no section of the known chain carries it.
  std::unordered_map<std::string_view, std::uint64_t> firstCandidates;
};

#endif
