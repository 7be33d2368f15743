// The command line of ramgraft-load.
#ifndef RAMGRAFT_LOAD_OPTIONS_H
#define RAMGRAFT_LOAD_OPTIONS_H

#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

/// What a load is to do.
struct LoadOptions {
  std::string mapFile, bitFile;
  std::vector<std::string> contents;  ///< FILE or PLACE=FILE, as given
  std::vector<std::string> sets;      ///< PLACE=VALUE, as given
  std::vector<std::string> symbolFiles;
  std::optional<std::string> outputFile;  ///< "-" is standard output
  std::optional<std::string> depFile;
  bool isCheck = false;
  bool keepsRest = false;  ///< what no content has stays as it is
  bool takesAnyByteOrder = false;
  bool takesAnyDesign = false;
  bool isIfChanged = false;
  bool isQuiet = false;
  bool isJson = false;

  /// Adds all options and arguments.
  void addTo(CLI::App& app);
  /// What is wrong with the options together; empty if nothing is.
  std::string contradiction() const;
};

#endif
