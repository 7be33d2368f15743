#include "companion/options.h"

#include <CLI/CLI.hpp>
#include <charconv>

// The library's own conversion of numbers would read 010 as 8.
void addNumber(CLI::App& app, const std::string& name, const std::string& help, std::uint64_t most,
               std::uint64_t& number) {
  const auto convert = [name, most, &number](const std::string& text) {
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error == std::errc() && rest == end && number >= 1 && number <= most) return;
    throw CLI::ValidationError(name, "must be a number from 1 to " + std::to_string(most));
  };
  app.add_option_function<std::string>(name, convert, help)->type_name("N")->take_last();
}

void addFile(CLI::App& app, const std::string& name, const std::string& help, std::string& file) {
  takeStandardInput(app, *app.add_option(name, file, help)->required()->type_name(""));
}

void takeStandardInput(CLI::App& app, CLI::Option& option) {
  option.transform([&app, &option](const std::string& file) -> std::string {
    if (file != "-") return file;
    for (const CLI::Option* const other : app.get_options()) {
      if (other != &option && !other->check_name("-o") && other->results() == CLI::results_t{"-"}) {
        throw CLI::ValidationError("standard input (-) can't be read twice");
      }
    }
    return "/dev/stdin";
  });
}

void addJson(CLI::App& app, bool& isJson) {
  app.add_flag("--json", isJson, "Print one JSON object")->disable_flag_override();
}

void addAnyDesign(CLI::App& app, bool& takesAnyDesign) {
  app.add_flag("--any-design", takesAnyDesign, "Take a bitstream of another design than the map's")
      ->disable_flag_override();
}

void addOutput(CLI::App& app, const std::string& type, std::optional<std::string>& file) {
  app.add_option("-o", file, "Write to this file; - is standard output, as without -o")
      ->type_name(type)
      ->take_last()
      ->check([&app](const std::string& name) -> std::string {
        const CLI::Option* const json = app.get_option_no_throw("--json");
        const bool isJson = json != nullptr && json->count() != 0;
        return name == "-" && isJson ? "- and --json both use standard output" : "";
      });
}
