#include "survey/listing.h"

#include <algorithm>
#include <iterator>

void forEachEbr(const SectionTable& table, const std::function<void(const ListedEbr&)>& show) {
  ListedEbr ebr;  // kept, so that the room for its contents is
  for (const std::uint64_t section : table.getWalk()) {
    ebr.command = table.getCommand(section);
    if (ebr.command.fault != CommandFault::NONE) continue;
    ebr.identifier = table.getIdentifier(ebr.command);
    ebr.facts =
        readContents(table.getBitstream(), ebr.command, ebr.command.contentsBytes(), ebr.contents);
    ebr.used = ebr.contents.size() -
               static_cast<std::uint64_t>(std::count(ebr.contents.begin(), ebr.contents.end(), 0));
    ebr.hiding = table.findHiding(section);
    show(ebr);
  }
}

void forEachOther(const SectionTable& table, const std::function<void(const OtherSection&)>& show) {
  std::vector<std::uint64_t> sections;
  std::ranges::set_union(table.getWalk(), table.getChain(), std::back_inserter(sections));
  auto walked = table.getWalk().begin();
  EbrCommand around;  // the last command of the walk
  for (const std::uint64_t section : sections) {
    OtherSection other;
    other.command = table.getCommand(section);
    other.identifier = table.getIdentifier(other.command);
    if (walked == table.getWalk().end() || *walked != section) {
      other.field = fieldOf(around, section);
      other.around = table.getIdentifier(around);
      show(other);
      continue;
    }
    around = other.command;
    ++walked;
    if (around.fault != CommandFault::NONE) show(other);
  }
}
