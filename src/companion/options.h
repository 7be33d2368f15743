// The options and arguments that the companions' command lines are made of.
#ifndef RAMGRAFT_COMPANION_OPTIONS_H
#define RAMGRAFT_COMPANION_OPTIONS_H

#include <cstdint>
#include <optional>
#include <string>

namespace CLI {
class App;
class Option;
}  // namespace CLI

/// Each function adds an option or argument to `app`. Parsing the command line sets the variable,
/// which must live until then and keeps its value if the option isn't given.

/// An option whose value is a decimal number from 1 to `most`.
void addNumber(CLI::App& app, const std::string& name, const std::string& help, std::uint64_t most,
               std::uint64_t& number);

/// The file that is argument `name`, which must be given; - becomes /dev/stdin.
void addFile(CLI::App& app, const std::string& name, const std::string& help, std::string& file);

/// Lets - stand for standard input, as /dev/stdin, in an option of `app` that names a file to read.
/// It may be given once only.
void takeStandardInput(CLI::App& app, CLI::Option& option);

/// The flag --json.
void addJson(CLI::App& app, bool& isJson);

/// The flag --any-design.
void addAnyDesign(CLI::App& app, bool& takesAnyDesign);

/// The option -o: the file, of the kind `type`, to which the result goes; - is standard output,
/// which no JSON object may need.
void addOutput(CLI::App& app, const std::string& type, std::optional<std::string>& file);

#endif
