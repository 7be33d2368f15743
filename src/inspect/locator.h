// Locating memories whose contents are known.
#ifndef RAMGRAFT_INSPECT_LOCATOR_H
#define RAMGRAFT_INSPECT_LOCATOR_H

#include <map>
#include <string>
#include <vector>

#include "companion/messages.h"
#include "ebr/sectiontable.h"
#include "survey/fitting.h"

/// A memory that is to be located.
struct KnownMemory {
  std::string name;  ///< in the map; empty without one
  std::string file;  ///< with its contents
  KnownWords known;
  std::vector<Fit> parts;             ///< once it was located, all of them unique
  std::string reason;                 ///< why it wasn't located
  std::vector<std::string> widFiles;  ///< of each part, as they are opened, if it gets some

  /// What messages call it.
  std::string label() const { return name.empty() ? file : name + " (" + file + ")"; }
};

using KnownMemories = std::vector<KnownMemory>;

/// Locates memories among the EBRs of a table, which must outlive it.
class Locator {
 public:
  explicit Locator(const SectionTable& sections) : table(sections), ebrs(sections.findEbrs()) {}

  const SectionTable& getTable() const { return table; }
  /// The identifiers of a part's EBRs, in width-file order.
  std::vector<std::string> identifiersOf(const Fit& part) const;

  /// Sets the parts of each memory, or the reason why it has none. Warns of EBRs that too few bits
  /// distinguish.
  void locate(KnownMemories& memories, Messages& messages) const;
  /// Warns of EBRs of located memories at which ramgraft's search doesn't arrive.
  void warnOfHiddenEbrs(const KnownMemories& memories, Messages& messages) const;

 private:
  using Owners = std::map<std::size_t, const KnownMemory*>;

  std::string identifierOf(std::size_t ebr) const { return table.getIdentifier(ebrs[ebr]); }
  void claim(std::size_t ebr, KnownMemory& memory, Owners& owners) const;

  const SectionTable& table;
  std::vector<EbrCommand> ebrs;
};

#endif
