#include "layout/placement.h"

#include <algorithm>

#include "ebr/graft.h"
#include "ebr/section.h"
#include "ebr/walk.h"
#include "layout/ebrtable.h"
#include "layout/fingerprint.h"
#include "reports/ebrs.h"
#include "reports/position.h"
#include "reports/text.h"

namespace {

using std::to_string;

// Words of a lane that an EBR can hold.
std::uint64_t wordsHeld(const EbrCommand& command, const Lane& lane) {
  return writableWords(command.frameCount, 0) * 8 / lane.bitsPerEbr;
}

std::string refuseWalk(const Map& map, const std::string& bitFile, const Bitstream& bitstream,
                       std::span<const EbrCommand> walk) {
  if (map.design.line == 0) return "";
  const std::string found = fingerprintOf(bitstream, walk);
  if (found == map.design.value) return "";
  return positionText(map.file, map.design.line) + "the map is for the design " + map.design.value +
         ", " + bitFile + " has " + found +
         "; make the map anew with ramgraft-inspect locate --update, or take it as it is with "
         "--any-design";
}

class Placer {
 public:
  Placer(const Map& itsMap, const std::string& fileName, const Bitstream& stream, Placement& result)
      : map(itsMap), bitFile(fileName), bitstream(stream), table(itsMap), placement(result) {}

  std::string place(std::span<const EbrCommand> walk) {
    placement.ebrs.resize(table.size());
    isPlaced.resize(table.size());
    for (const EbrCommand& command : walk) {
      if (std::string fault = take(command); !fault.empty()) return fault;
    }
    for (const Memory& memory : map.memories) {
      for (std::size_t part = 0; part < memory.parts.size(); ++part) {
        for (const Lane& lane : memory.parts[part].lanes) {
          if (std::string fault = check(memory, part, lane); !fault.empty()) return fault;
        }
      }
    }
    return "";
  }

 private:
  // Notes where an EBR is, if the map has it.
  std::string take(const EbrCommand& command) {
    if (command.fault == CommandFault::NO_IDENTIFIER) return "";
    if (command.fault == CommandFault::NONE) ++numFound;
    const std::string identifier =
        identifierOf(bitstream, command.opcodeIndex, command.identifierBits);
    const MapEbr* const ebr = table.find(identifier);
    if (ebr == nullptr) return "";
    const std::size_t number = table.laneOf(*ebr).firstEbr + ebr->ebr;
    if (isPlaced[number]) {
      return refuse(*ebr, "is there twice, at bits " +
                              to_string(placement.ebrs[number].opcodeIndex) + " and " +
                              to_string(command.opcodeIndex));
    }
    if (command.fault != CommandFault::NONE) {
      return refuse(*ebr, "can't be used: " + std::string(textOf(command.fault)) + " at bit " +
                              to_string(command.faultIndex));
    }
    placement.ebrs[number] = command;
    isPlaced[number] = true;
    return "";
  }

  std::string refuse(const MapEbr& ebr, const std::string& text) const {
    return positionText(bitFile) + "EBR " + excerptOf(ebr.wid) + " (" + table.laneOf(ebr).widFile +
           ") " + text;
  }

  std::string check(const Memory& memory, std::size_t number, const Lane& lane) const {
    for (std::size_t ebr = 0; ebr < lane.wids.size(); ++ebr) {
      if (!isPlaced[lane.firstEbr + ebr]) return missing(lane, ebr);
    }
    const auto commands = placement.getCommands(lane);
    const EbrCommand& smallest = *std::ranges::min_element(commands, {}, &EbrCommand::frameCount);
    const Part& part = memory.parts[number];
    if (part.words <= wordsHeld(smallest, lane)) return "";
    return positionText(map.file, memory.line) + memory.name + " has " + to_string(part.words) +
           " words" + (memory.parts.size() > 1 ? " in part " + to_string(number + 1) : "") +
           ", the EBRs of " + lane.widFile + " hold " + to_string(wordsHeld(smallest, lane));
  }

  std::string missing(const Lane& lane, std::size_t ebr) const {
    return positionOf(lane, ebr) + "EBR " + excerptOf(lane.wids[ebr]) + " isn't in " + bitFile +
           ", which has " + to_string(numFound) + (numFound == 1 ? " EBR" : " EBRs") +
           " with identifiers of " + to_string(map.identifierBits) + " bits";
  }

  const Map& map;
  const std::string& bitFile;
  const Bitstream& bitstream;
  EbrTable table;
  Placement& placement;
  std::vector<bool> isPlaced;  ///< for each EBR of the map
  std::uint64_t numFound = 0;  ///< commands without fault
};

}  // namespace

std::string refuseDesign(const Map& map, const std::string& bitFile, const Bitstream& bitstream) {
  return refuseWalk(map, bitFile, bitstream, walkCommands(bitstream, map.identifierBits));
}

std::string placeMap(const Map& map, const std::string& bitFile, const Bitstream& bitstream,
                     bool takesAnyDesign, Placement& placement) {
  const std::vector<EbrCommand> walk = walkCommands(bitstream, map.identifierBits);
  std::string fault = takesAnyDesign ? "" : refuseWalk(map, bitFile, bitstream, walk);
  return fault.empty() ? Placer(map, bitFile, bitstream, placement).place(walk) : fault;
}
