// SectionTable: the sections of a bitstream, with identifiers of a given width.
#ifndef RAMGRAFT_SURVEY_SECTIONS_H
#define RAMGRAFT_SURVEY_SECTIONS_H

#include <cstdint>
#include <string>
#include <vector>

#include "base/ramgraftbstream.h"
#include "ebr/command.h"

/// The chain of a stream, which must outlive the table and not change. Sections are numbered from 0
/// in stream order.
class SectionTable {
 public:
  /// `allSections` is what findAllSections() gives; identifiers have 1 to 64 bits.
  SectionTable(const Bitstream& stream, const std::vector<std::uint64_t>& allSections,
               std::uint64_t identifierBits);

  const Bitstream& getBitstream() const { return bitstream; }
  std::uint64_t getIdentifierBits() const { return identifierBits; }
  std::size_t size() const { return chain.size(); }
  /// What the stream contains there.
  EbrCommand getCommand(std::size_t section) const;
  /// The identifier of a command as digits; empty if the stream ends before it does.
  std::string getIdentifier(const EbrCommand& command) const;
  /// True if the payloads overlap so often that reading them all would take minutes.
  bool overlapsTooMuch() const;
  /// True if the identifier came up before: a run would never get to this section.
  bool isHidden(std::size_t section) const { return hidden[section]; }

 private:
  const Bitstream& bitstream;
  std::uint64_t identifierBits;
  std::vector<std::uint64_t> chain;
  std::vector<bool> hidden;
};

#endif
