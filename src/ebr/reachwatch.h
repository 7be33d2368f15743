// ReachWatch: which commands a search doesn't arrive at any more after contents were replaced.
#ifndef RAMGRAFT_EBR_REACHWATCH_H
#define RAMGRAFT_EBR_REACHWATCH_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "base/ramgraftbstream.h"
#include "ebr/chain.h"
#include "ebr/sectiontable.h"

/// Watches a stream while contents are replaced. It follows the chain to the end of the stream only
/// once contents look like an address section, before or after they are replaced. Refers to the
/// stream and to its chain, which must outlive it.
class ReachWatch {
 public:
  ReachWatch(const Bitstream& stream, SectionChain& streamChain, std::uint64_t bits)
      : bitstream(stream), chain(streamChain), identifierBits(bits) {}

  /// To be called before payload and CRC of a command without fault, which the search arrives at,
  /// are overwritten.
  void beforeWriting(const EbrCommand& command);
  /// To be called after that. Brings the chain up to date.
  void afterWriting(const EbrCommand& command);

  /// Calls `visit`, in stream order, with each command that a search arrived at before the first
  /// change and doesn't now.
  void forEachLost(const std::function<void(const HiddenCommand&)>& visit);

 private:
  void remember();
  std::uint64_t wordsEach() const { return (identifierBits + 63) / 64; }
  unsigned bitsIn(std::uint64_t i) const;
  std::uint64_t readWord(std::uint64_t section, std::uint64_t i) const;
  bool isThere(std::size_t number) const;
  std::string spellIdentifier(std::size_t number) const;

  const Bitstream& bitstream;
  SectionChain& chain;
  std::uint64_t identifierBits;
  bool isRemembered = false;  ///< whether the lists are filled
  std::vector<std::uint64_t>
      reached;  ///< commands that a search arrived at before the first change
  std::vector<std::uint64_t> identifiers;  ///< theirs, wordsEach() words for each
};

#endif
