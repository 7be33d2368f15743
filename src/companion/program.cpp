#include "companion/program.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <new>
#include <span>
#include <string_view>

#include "companion/messages.h"
#include "companion/output.h"
#include "files/process.h"

namespace {

ExitStatus run(const Program& program, const char* footer, int argc, const char* const argv[],
               const Messages& messages) {
  CLI::App app(program.help, program.name);
  app.set_version_flag("--version", std::string(program.name) + " " RAMGRAFT_VERSION,
                       "Print the version");
  app.footer(footer);
  const Action action = program.prepare(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForVersion& version) {
    return putResult(std::nullopt, std::string(version.what()) + "\n", {}, messages);
  } catch (const CLI::CallForHelp&) {
    return putResult(std::nullopt, app.help(), {}, messages);
  } catch (const CLI::ParseError& fault) {
    return messages.refuse(std::string(fault.what()) + "; " + program.name + " --help explains");
  }
  return action();
}

}  // namespace

int runCompanion(const Program& program, const char* footer, int argc, const char* const argv[]) {
  prepareProcess();
  // What the option is for decides, not where a mistake is.
  const std::span<const char* const> arguments(argv, static_cast<std::size_t>(argc));
  const Messages messages(std::ranges::find(arguments, std::string_view("--json")) !=
                          arguments.end());
  try {
    return static_cast<int>(run(program, footer, argc, argv, messages));
    // GCOVR_EXCL_START: no test limits the memory of a companion
  } catch (const std::bad_alloc&) {
    return static_cast<int>(messages.refuse("out of memory"));
  }
  // GCOVR_EXCL_STOP
}
