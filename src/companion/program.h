// The frame of a companion's main.
#ifndef RAMGRAFT_COMPANION_PROGRAM_H
#define RAMGRAFT_COMPANION_PROGRAM_H

#include <functional>
#include <memory>

#include "companion/status.h"

namespace CLI {
class App;
}

/// What a program or a subcommand does once its command line has been parsed.
using Action = std::function<ExitStatus()>;

/// A program, or a subcommand of one.
struct Program {
  const char* name;
  const char* help;  ///< one line
  /// Adds the options to `app`. Returns what is to be done with their values.
  Action (*prepare)(CLI::App& app);
};

/// Program::prepare() of a command whose options are the members of `Options`, with
/// `void addTo(CLI::App&)` and `ExitStatus run() const`.
template <typename Options>
Action prepare(CLI::App& app) {
  const auto options = std::make_shared<Options>();
  options->addTo(app);
  return [options] { return options->run(); };
}

/// Prepares the process (prepareProcess()), parses the arguments of main() and does what they ask
/// for: help, with `footer` below it, the version, or the program's action. Returns the exit
/// status; when it is FAILED, the reason has been printed on standard error.
int runCompanion(const Program& program, const char* footer, int argc, const char* const argv[]);

#endif
