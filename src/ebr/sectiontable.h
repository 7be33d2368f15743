// SectionTable: the sections of a bitstream, with identifiers of a given width.
#ifndef RAMGRAFT_EBR_SECTIONTABLE_H
#define RAMGRAFT_EBR_SECTIONTABLE_H

#include <cstdint>
#include <string>
#include <vector>

#include "base/ramgraftbstream.h"
#include "ebr/command.h"

/// The walk through a stream and the chain of its sections. The stream must outlive the table and
/// not change. Sections are bit indexes of address opcodes, ascending.
class SectionTable {
 public:
  /// `allSections` is what findAllSections() gives.
  SectionTable(const Bitstream& stream, const std::vector<std::uint64_t>& allSections,
               std::uint64_t bits);

  const Bitstream& getBitstream() const { return bitstream; }
  std::uint64_t getIdentifierBits() const { return identifierBits; }
  /// The commands of the walk.
  const std::vector<std::uint64_t>& getWalk() const { return walk; }
  /// What ramgraft's search takes for commands.
  const std::vector<std::uint64_t>& getChain() const { return chain; }
  /// What the stream contains at a section.
  EbrCommand getCommand(std::uint64_t section) const;
  /// The identifier of a command as digits; empty if the stream ends before it does.
  std::string getIdentifier(const EbrCommand& command) const;
  /// True if ramgraft's search for the identifier of this command of the walk doesn't arrive there.
  bool isHidden(const EbrCommand& command) const;
  /// The commands of the walk that have a data section; of those with one identifier the first.
  std::vector<EbrCommand> findEbrs() const;

 private:
  const Bitstream& bitstream;
  std::uint64_t identifierBits;
  std::vector<std::uint64_t> walk, chain;
  std::vector<std::uint64_t> reached;  ///< of the chain's, the first with their identifier
};

#endif
