#include "inspect/mapped.h"

#include <CLI/CLI.hpp>

#include "layout/deal.h"

void addMap(CLI::App& app, std::optional<std::string>& mapFile, bool& takesAnyDesign) {
  CLI::Option& option =
      *app.add_option("--map", mapFile,
                      "Name the memory and part of each EBR, as this map has them")
           ->type_name("MAP.toml")
           ->take_last()
           ->excludes("--id-bits");
  takeStandardInput(app, option);
  addAnyDesign(app, takesAnyDesign);
  app.get_option("--any-design")->needs("--map");
}

std::string MappedStream::nameOf(const MapEbr* ebr) const {
  if (ebr == nullptr) return "";
  return map.memories[ebr->memory].name + " part " + std::to_string(ebr->part + 1);
}

void MappedStream::addTo(Json& object, const MapEbr* ebr) const {
  if (ebr == nullptr) return;
  object["memory"] = map.memories[ebr->memory].name;
  object["part"] = ebr->part + 1;
}

bool openMap(const std::string& mapFile, const OpenStream& stream, bool takesAnyDesign,
             MappedStream& mapped, const Messages& messages) {
  std::string fault = readMap(mapFile, mapped.map);
  if (fault.empty()) {
    fault = placeMap(mapped.map, stream.name, stream.bitstream, takesAnyDesign, mapped.placement);
  }
  if (!fault.empty()) {
    messages.refuse(fault);
    return false;
  }
  mapped.ebrs.emplace(mapped.map);
  return true;
}

std::vector<unsigned char> readImage(const Bitstream& bitstream, const Memory& memory,
                                     const Placement& placement) {
  std::vector<unsigned char> image;
  image.reserve(memory.bytes());
  for (const Part& part : memory.parts) {
    const std::vector<unsigned char> bytes = readPart(bitstream, memory, part, placement);
    image.insert(image.end(), bytes.begin(), bytes.end());
  }
  return image;
}
