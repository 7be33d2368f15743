#include "load/arguments.h"

#include <CLI/CLI.hpp>

namespace {

// The options and what they fill.
class Parser {
 public:
  explicit Parser(Arguments& toFill) : arguments(toFill) {
    app.name("ramgraft-load");
    app.set_version_flag("--version", "ramgraft-load " RAMGRAFT_VERSION, "Print the version");
    addFiles();
    addContents();
    addModes();
    app.footer(
        "CONTENT: FILE (ELF, Intel HEX, S-record) or PLACE=FILE (also .bin, text words).\n"
        "PLACE: an address, NAME or NAME+OFFSET of a memory; for --set also a symbol.\n"
        "VALUE: DEADBEEF (bytes in address order), u8: u16: u32: u64: and a number, str:TEXT.\n"
        "Exit status: 0 written (--check: has these contents already); 1 --check: has not; 2 could "
        "not be done, nothing written.");
  }

  Request parse(int argc, const char* const argv[]) {
    try {
      app.parse(argc, argv);
    } catch (const CLI::CallForVersion& version) {
      return {Request::Kind::HELP, {}, std::string(version.what()) + "\n"};
    } catch (const CLI::CallForHelp&) {
      return {Request::Kind::HELP, {}, app.help()};
    } catch (const CLI::ParseError& fault) {
      return {Request::Kind::FAULT, {}, fault.what()};
    }
    const char* const fault = contradiction();
    return {*fault == '\0' ? Request::Kind::LOAD : Request::Kind::FAULT, {}, fault};
  }

 private:
  void addFiles() {
    app.add_option("-o", arguments.outputFile, "Write the bitstream here; - is standard output")
        ->type_name("OUT.bit");
    app.add_option("MAP.toml", arguments.mapFile, "The memories of the design")
        ->required()
        ->type_name("");
    app.add_option("IN.bit", arguments.bitFile, "The bitstream")->required()->type_name("");
    app.add_option("CONTENT", arguments.contents, "What goes into the memories")->type_name("");
  }

  void addContents() {
    addList("--set", arguments.sets, "Put a value there, after all contents", "PLACE=VALUE");
    addList("--symbols", arguments.symbolFiles, "Take the symbols of this file, not its contents",
            "FILE.elf");
    addFlag("--keep", arguments.keepsRest, "Leave words alone that no content has");
    addFlag("--any-byte-order", arguments.takesAnyByteOrder,
            "Take an ELF file of another byte order than the memory's");
  }

  void addModes() {
    addFlag("--check", arguments.isCheck, "Write nothing; say what a load would change");
    addFlag("--if-changed", arguments.isIfChanged, "Leave an output alone that is right already");
    app.add_option("--depfile", arguments.depFile, "Write what the output depends on, for make")
        ->type_name("FILE");
    addFlag("--quiet", arguments.isQuiet, "Print warnings and errors only");
    addFlag("--json", arguments.isJson, "Print the report as one JSON object");
  }

  void addFlag(const std::string& name, bool& flag, const std::string& help) {
    app.add_flag(name, flag, help)->disable_flag_override();
  }

  // An option that may be given again, each time with one value: what follows is a file again.
  void addList(const std::string& name, std::vector<std::string>& values, const std::string& help,
               const std::string& type) {
    app.add_option(name, values, help)->type_name(type)->type_size(1)->allow_extra_args(false);
  }

  // What is wrong with the arguments together; empty if nothing is.
  const char* contradiction() const {
    const Arguments& all = arguments;
    if (all.isCheck && all.outputFile) return "-o and --check exclude each other";
    if (!all.isCheck && !all.outputFile) return "-o OUT.bit or --check is required";
    if (all.contents.empty() && all.sets.empty()) return "nothing to load: no CONTENT, no --set";
    if (all.outputFile == "-" && all.isJson) return "-o - and --json both use standard output";
    const bool hasFile = all.outputFile && all.outputFile != "-";
    if (all.depFile && !hasFile) return "--depfile needs an output file";
    if (all.isIfChanged && !hasFile) return "--if-changed needs an output file";
    return "";
  }

  CLI::App app{"Put firmware into the memories of an FPGA bitstream."};
  Arguments& arguments;
};

}  // namespace

Request parseArguments(int argc, const char* const argv[]) {
  Arguments arguments;
  Request request = Parser(arguments).parse(argc, argv);
  request.arguments = std::move(arguments);
  return request;
}
