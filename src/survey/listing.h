// The EBRs that a bitstream contains, and what else its sections are.
#ifndef RAMGRAFT_SURVEY_LISTING_H
#define RAMGRAFT_SURVEY_LISTING_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ebr/sectiontable.h"
#include "survey/contents.h"

/// A command of the walk that has a data section.
struct ListedEbr {
  std::string identifier;
  EbrCommand command;
  std::vector<unsigned char> contents;
  std::uint64_t used = 0;  ///< bytes of contents that aren't 0
  ContentsFacts facts;
  std::optional<Hiding> hiding;  ///< if ramgraft's search doesn't arrive there
};

/// Calls `show` with each command of the walk that has a data section, in stream order.
void forEachEbr(const SectionTable& table, const std::function<void(const ListedEbr&)>& show);

/// A section that is no EBR.
struct OtherSection {
  std::string identifier;  ///< empty if the stream ends before it does
  EbrCommand command;
  /// If a command of the walk contains the section's first bit: the field with that bit, "header",
  /// "contents" or "CRC". Else it is empty, and the section is a command with a fault.
  std::string_view field;
  std::string around;  ///< the identifier of the command that contains the bit
};

/// Calls `show`, in stream order, with each command of the walk without a data section, and with
/// each section of the chain that begins inside a command of the walk.
void forEachOther(const SectionTable& table, const std::function<void(const OtherSection&)>& show);

#endif
