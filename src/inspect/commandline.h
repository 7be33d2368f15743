// The command line of ramgraft-inspect.
#ifndef RAMGRAFT_INSPECT_COMMANDLINE_H
#define RAMGRAFT_INSPECT_COMMANDLINE_H

#include <cstdint>
#include <optional>
#include <string>

/// What a subcommand is to do. Only what the subcommand knows is set.
struct CommandLine {
  std::string bitFile, widFile, memFile;
  std::string newBitFile;                 ///< the second bitstream of `diff`
  std::optional<std::string> outputFile;  ///< where the result goes; else to standard output
  bool isJson = false;
  std::uint64_t identifierBits = 0;  ///< 0 if it is to be found
  std::uint64_t words = 0;           ///< 0 if the address width says how many
  std::uint64_t dataWidth = 0;       ///< 0 if a word is a line
};

/// What the arguments ask for.
struct Request {
  enum class Kind { LIST, EXTRACT, VERIFY, DIFF, LOCATE, HELP, FAULT };

  Kind kind = Kind::FAULT;
  CommandLine commandLine;
  std::string text;  ///< of HELP, for standard output; or the sentence that names the fault
};

/// Reads the arguments of main().
Request parseCommandLine(int argc, const char* const argv[]);

#endif
