// What a load reports: as a table on standard error, or as JSON on standard output.
#ifndef RAMGRAFT_LOAD_REPORT_H
#define RAMGRAFT_LOAD_REPORT_H

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "companion/output.h"
#include "load/check.h"
#include "load/grafting.h"
#include "load/images.h"
#include "load/sets.h"

/// All that there is to report. Refers to what a load has made.
struct Report {
  const Map& map;
  const AddressSpace& addresses;
  const std::deque<Content>& contents;
  const std::vector<SetValue>& sets;
  const Images& images;
  const std::vector<GraftChanges>& changes;
  const std::vector<MemoryDifferences>* differences;  ///< null unless it is a check
  const std::vector<std::string>& warnings;

  /// True if the load changes no bit.
  bool isSame() const;
};

/// The report as lines.
std::string spellReport(const Report& report);

/// Writes the report as one JSON object.
void writeReport(const Report& report, StandardOutput& output);

#endif
