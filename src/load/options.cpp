#include "load/options.h"

#include <CLI/CLI.hpp>

#include "companion/options.h"

namespace {

void addFlag(CLI::App& app, const std::string& name, const std::string& help, bool& flag) {
  app.add_flag(name, flag, help)->disable_flag_override();
}

// An option that may come again, each time with one value: what follows that is a file again.
void addList(CLI::App& app, const std::string& name, const std::string& type,
             const std::string& help, std::vector<std::string>& values) {
  app.add_option(name, values, help)->type_name(type)->type_size(1)->allow_extra_args(false);
}

}  // namespace

void LoadOptions::addTo(CLI::App& app) {
  app.add_option("-o", outputFile, "Write the bitstream here; - is standard output")
      ->type_name("OUT.bit")
      ->take_last();
  addFlag(app, "--check", "Instead of -o: report what a load would change", isCheck);
  addList(app, "--set", "PLACE=VALUE", "Put a value there, after all contents", sets);
  addList(app, "--symbols", "FILE.elf", "Take the symbols of this file, not its contents",
          symbolFiles);
  addFlag(app, "--keep", "Leave alone what no content has", keepsRest);
  addFlag(app, "--any-byte-order", "Take an ELF file of another byte order than the memory's",
          takesAnyByteOrder);
  addAnyDesign(app, takesAnyDesign);
  addFlag(app, "--if-changed", "Leave an output alone that is right already", isIfChanged);
  app.add_option("--depfile", depFile, "Write what the output depends on, for make")
      ->type_name("FILE")
      ->take_last();
  addFlag(app, "--quiet", "Print warnings and errors only", isQuiet);
  addJson(app, isJson);
  addFile(app, "MAP.toml", "The memories of the design", mapFile);
  addFile(app, "IN.bit", "The bitstream", bitFile);
  app.add_option("CONTENT", contents, "What goes into the memories: FILE or PLACE=FILE")
      ->type_name("");
}

std::string LoadOptions::contradiction() const {
  if (isCheck && outputFile) return "-o and --check exclude each other";
  if (!isCheck && !outputFile) return "-o OUT.bit or --check is required";
  if (contents.empty() && sets.empty()) return "nothing to load: no CONTENT and no --set";
  if (outputFile == "-" && isJson) return "-o - and --json both use standard output";
  const bool hasFile = outputFile && outputFile != "-";
  if (depFile && !hasFile) return "--depfile needs an output file";
  if (isIfChanged && !hasFile) return "--if-changed needs an output file";
  return "";
}
