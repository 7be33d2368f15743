// SectionChain: the address sections that a search from the start of a stream visits.
#ifndef RAMGRAFT_EBR_CHAIN_H
#define RAMGRAFT_EBR_CHAIN_H

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "base/ramgraftbstream.h"

/// The bit indexes of all address sections of a stream, ascending; also of those that begin inside
/// another one's identifier.
std::vector<std::uint64_t> findAllSections(const Bitstream& bitstream);

/// The chain of a stream that doesn't change, selected from findAllSections(). Its first section is
/// the first in the stream; each further one is the first that begins at or after the end of the
/// identifier, of `identifierBits` bits, of the one before. Sections that begin inside an
/// identifier are therefore not part of it. A section without an identifier, cut short by the end
/// of the stream, can only be the last.
std::vector<std::uint64_t> selectChain(const Bitstream& bitstream,
                                       const std::vector<std::uint64_t>& allSections,
                                       std::uint64_t identifierBits);

/// Finds the address section of one wid after the other as a search from the stream's start would
/// each time, but remembers the chain: it looks at every bit once, and again only where something
/// was written. It follows the chain only as far as the wids require. (In a stream built so that
/// each write adds sections to the chain or removes some, each wid still costs the length of the
/// chain.)
///
/// Refers to the stream and to the wids, which must outlive it. The caller must report every change
/// to the stream through bitsChanged().
class SectionChain {
 public:
  enum class Outcome {
    FOUND,
    NO_SECTION,   ///< the stream has no further section
    RAN_OFF_END,  ///< a section came up that has no identifier
  };

  /// `wids` must not be empty; the length of the first one is the width of every identifier.
  SectionChain(const Bitstream& bitstream, const std::vector<std::string>& wids);

  /// Finds the first section of the chain that carries `wid`, one of the constructor's. Sets
  /// `section` to its bit index when the outcome is FOUND.
  Outcome find(const std::string& wid, std::uint64_t& section);

  /// True if the address of a section of the chain has one of the bits [begin, end). Follows the
  /// chain to `end`.
  bool hasAddressIn(std::uint64_t begin, std::uint64_t end);

  /// Follows the chain to the end of the stream. The whole chain, ascending; valid until the next
  /// call of a function.
  const std::vector<std::uint64_t>& followToEnd();

  /// Brings the chain up to date after the bits [begin, end) were overwritten. Searches again only
  /// where a section could have come up or gone. If other sections make up the chain now, calls
  /// `beforeUpdate` while it still is the old one; that may only ask for it.
  void bitsChanged(std::uint64_t begin, std::uint64_t end,
                   const std::function<void()>& beforeUpdate = {});

 private:
  using Sections = std::vector<std::uint64_t>;

  std::uint64_t endOf(std::uint64_t section) const;
  bool isComplete(std::uint64_t section) const;
  bool carries(std::uint64_t section, const std::string& wid) const;
  bool follow();
  void noteCandidate(std::uint64_t section);

  const Bitstream& bitstream;
  std::uint64_t identifierBits;
  Sections chain;
  std::uint64_t searched = 0;  ///< the chain is known for sections that begin before this bit
  /// For each wid a bit index before which no section of the known chain carries it. Ordered, not
  /// hashed: wids chosen to collide in a known hash would make this quadratic.
  std::map<std::string_view, std::uint64_t> firstCandidates;
};

#endif
