// The command line of ramgraft-load.
#ifndef RAMGRAFT_LOAD_ARGUMENTS_H
#define RAMGRAFT_LOAD_ARGUMENTS_H

#include <optional>
#include <string>
#include <vector>

/// What a run is to do.
struct Arguments {
  std::string mapFile, bitFile;
  std::vector<std::string> contents;    ///< FILE or PLACE=FILE, as given
  std::vector<std::string> sets;        ///< PLACE=VALUE, as given
  std::vector<std::string> symbolFiles;
  std::optional<std::string> outputFile;
  std::optional<std::string> depFile;
  bool isCheck = false;
  bool keepsRest = false;  ///< words that no content has stay as they are
  bool takesAnyByteOrder = false;
  bool isIfChanged = false;
  bool isQuiet = false;
  bool isJson = false;
};

/// What the arguments of main() ask for.
struct Request {
  enum class Kind { LOAD, HELP, FAULT };

  Kind kind = Kind::FAULT;
  Arguments arguments;
  std::string text;  ///< of HELP, for standard output; or the sentence that names the fault
};

/// Reads the arguments of main().
Request parseArguments(int argc, const char* const argv[]);

#endif
