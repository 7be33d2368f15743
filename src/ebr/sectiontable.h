// SectionTable: the sections of a bitstream, with identifiers of a given width.
#ifndef RAMGRAFT_EBR_SECTIONTABLE_H
#define RAMGRAFT_EBR_SECTIONTABLE_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/ramgraftbstream.h"
#include "ebr/command.h"

/// What keeps ramgraft's search from a command.
struct Hiding {
  enum class Kind {
    REACHES_INTO,  ///< the search passes over the command, because it began inside this section
    COMES_FIRST,   ///< the search comes to this section before, which has the same identifier
    OVERWRITTEN,   ///< the command, which was this section, isn't there any more
  };

  Kind kind = Kind::REACHES_INTO;
  std::uint64_t section = 0;         ///< bit index
  std::optional<EbrCommand> around;  ///< the command of the walk inside which the section begins
};

/// A command that ramgraft's search doesn't arrive at.
struct HiddenCommand {
  std::string identifier;
  std::uint64_t section = 0;  ///< bit index
  Hiding hiding;
};

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
  /// The command of the walk that contains the bit, if it isn't that command's first.
  std::optional<EbrCommand> findAround(std::uint64_t bitIndex) const;
  /// The commands of the walk that have a data section; of those with one identifier the first.
  std::vector<EbrCommand> findEbrs() const;

  /// What keeps ramgraft's search from a section of the stream that has an identifier; nothing if
  /// it arrives there.
  std::optional<Hiding> findHiding(std::uint64_t section) const;
  bool isHidden(const EbrCommand& command) const {
    return findHiding(command.opcodeIndex).has_value();
  }
  /// The first command of the walk that has a data section and this identifier, if it is hidden.
  std::optional<HiddenCommand> findHidden(const std::string& identifier) const;

 private:
  const Bitstream& bitstream;
  std::uint64_t identifierBits;
  std::vector<std::uint64_t> walk, chain;
  std::vector<std::uint64_t> firsts;  ///< of the chain's: see firstOfEach()
};

#endif
