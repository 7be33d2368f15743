// Placement: where a map's EBRs are in a bitstream.
#ifndef RAMGRAFT_LAYOUT_PLACEMENT_H
#define RAMGRAFT_LAYOUT_PLACEMENT_H

#include <span>
#include <string>
#include <vector>

#include "base/ramgraftbstream.h"
#include "ebr/command.h"
#include "layout/map.h"

/// The commands of a map's EBRs, none of them with a fault.
struct Placement {
  std::vector<EbrCommand> ebrs;  ///< in the map's order: Lane::firstEbr is the first of a lane

  /// The commands of a lane of the map, in width-file order.
  std::span<const EbrCommand> getCommands(const Lane& lane) const {
    return std::span(ebrs).subspan(lane.firstEbr, lane.wids.size());
  }
};

/// The sentence that refuses a bitstream, read from `bitFile`, of another design than the map's.
/// Empty if it is of that design, or if the map doesn't say of which.
std::string refuseDesign(const Map& map, const std::string& bitFile, const Bitstream& bitstream);

/// Finds a map's EBRs among the commands of the walk through `bitstream`, which was read from
/// `bitFile`; unless `takesAnyDesign`, its design must be the map's. Returns the sentence that says
/// what is wrong and where, empty if nothing is: every EBR is then there once, and every part's
/// words fit its EBRs, so that the images are no longer than the bitstream.
std::string placeMap(const Map& map, const std::string& bitFile, const Bitstream& bitstream,
                     bool takesAnyDesign, Placement& placement);

#endif
