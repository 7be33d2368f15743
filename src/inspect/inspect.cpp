#include "inspect/inspect.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string_view>

#include "inspect/subcommands.h"
#include "reports/text.h"

namespace {

// In the order of the help.
const Program* const SUBCOMMANDS[] = {&LIST,   &EXTRACT, &VERIFY, &DIFF,
                                      &RANDOM, &LOCATE,  &DUMP,   &REPORT};

// True if adding, leaving out or replacing `most` letters makes one word of the other.
bool isNear(std::string_view a, std::string_view b, int most) {
  if (a.empty() || b.empty()) return static_cast<int>(std::max(a.size(), b.size())) <= most;
  const std::string_view restA = a.substr(1), restB = b.substr(1);
  if (a.front() == b.front()) return isNear(restA, restB, most);
  return most > 0 && (isNear(restA, b, most - 1) || isNear(a, restB, most - 1) ||
                      isNear(restA, restB, most - 1));
}

std::string nameNear(const std::string& word) {
  for (const int most : {1, 2}) {
    for (const Program* const each : SUBCOMMANDS) {
      if (isNear(word, each->name, most)) return each->name;
    }
  }
  return "";
}

// Ends the parsing where something else than a subcommand was given, or nothing.
void requireSubcommand(const CLI::App& app) {
  const std::vector<std::string> others = app.remaining();
  if (others.empty() && app.get_subcommands().empty()) throw CLI::RequiredError("A subcommand");
  if (others.empty()) return;
  if (others.front().starts_with('-')) throw CLI::ExtrasError(others);
  const std::string name = nameNear(others.front());
  throw CLI::ValidationError("no subcommand " + excerptOf(others.front()) +
                             (name.empty() ? "" : "; " + name + "?"));
}

Action addSubcommands(CLI::App& app) {
  app.require_subcommand(0, 1);
  app.final_callback([&app] { requireSubcommand(app); });
  const auto chosen = std::make_shared<Action>();
  for (const Program* const each : SUBCOMMANDS) {
    CLI::App& subcommand = *app.add_subcommand(each->name, each->help);
    subcommand.callback([chosen, action = each->prepare(subcommand)] { *chosen = action; });
  }
  app.allow_extras();  // after the subcommands, which would inherit it
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
