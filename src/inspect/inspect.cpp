#include "inspect/inspect.h"

#include <CLI/CLI.hpp>

#include "inspect/subcommands.h"

namespace {

// In the order of the help.
const Program* const SUBCOMMANDS[] = {&LIST,   &EXTRACT, &VERIFY, &DIFF,
                                      &RANDOM, &LOCATE,  &DUMP,   &REPORT};

Action addSubcommands(CLI::App& app) {
  app.require_subcommand(1);
  const auto chosen = std::make_shared<Action>();
  for (const Program* const each : SUBCOMMANDS) {
    CLI::App& subcommand = *app.add_subcommand(each->name, each->help);
    subcommand.callback([chosen, action = each->prepare(subcommand)] { *chosen = action; });
  }
  return [chosen] { return (*chosen)(); };
}

}  // namespace

int runInspect(int argc, const char* const argv[]) {
  constexpr Program INSPECT = {"ramgraft-inspect",
                               "See what a bitstream contains, take contents out, verify, compare, "
                               "locate, dump, report them.",
                               addSubcommands};
  return runCompanion(
      INSPECT,
      "Exit status: 0 listed, extracted, the same, located, dumped or reported; 1 differs or not "
      "located; 2 could not be done.",
      argc, argv);
}
