#include "inspect/commandline.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <climits>

namespace {

constexpr std::uint64_t MOST_IDENTIFIER_BITS = 64;
constexpr std::uint64_t MOST_WORDS = UINT32_MAX;
constexpr std::uint64_t MOST_DATA_BITS = INT_MAX;  // that a width file can say

// An option whose value is a decimal number from 1 to `most`. The library's own conversion would
// read 010 as 8.
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
  app.add_option(name, file, help)->required()->type_name("");
}

// The subcommands and what they take.
class Parser {
 public:
  explicit Parser(CommandLine& commandLine) : line(commandLine) {
    app.name("ramgraft-inspect");
    app.set_version_flag("--version", "ramgraft-inspect " RAMGRAFT_VERSION, "Print the version");
    app.require_subcommand(1);
    app.footer(
        "Exit status: 0 listed, extracted, the same or located; 1 differs or not located; 2 could "
        "not be done.");
    addList();
    addExtract();
    addVerify();
    addDiff();
    addLocate();
  }

  Request parse(int argc, const char* const argv[]) {
    try {
      app.parse(argc, argv);
      return {kind, {}, ""};
    } catch (const CLI::CallForVersion& version) {
      return {Request::Kind::HELP, {}, std::string(version.what()) + "\n"};
    } catch (const CLI::CallForHelp&) {
      return {Request::Kind::HELP, {}, app.help()};
    } catch (const CLI::ParseError& fault) {
      return {Request::Kind::FAULT, {}, fault.what()};
    }
  }

 private:
  CLI::App& addSubcommand(Request::Kind its, const std::string& name, const std::string& help) {
    CLI::App& subcommand = *app.add_subcommand(name, help);
    subcommand.callback([this, its] { kind = its; });
    return subcommand;
  }

  void addIdentifierBits(CLI::App& to) {
    addNumber(to, "--id-bits", "Bits of an identifier (1 to 64); otherwise they are found",
              MOST_IDENTIFIER_BITS, line.identifierBits);
  }

  void addJson(CLI::App& to) {
    to.add_flag("--json", line.isJson, "Print one JSON object")->disable_flag_override();
  }

  void addOutput(CLI::App& to, const std::string& type) {
    to.add_option("-o", line.outputFile, "Write to this file, not to standard output")
        ->type_name(type)
        ->take_last();
  }

  void addList() {
    CLI::App& list =
        addSubcommand(Request::Kind::LIST, "list", "Show the EBRs that a bitstream contains");
    addIdentifierBits(list);
    addJson(list);
    addFile(list, "FILE.bit", "The bitstream", line.bitFile);
  }

  void addExtract() {
    CLI::App& extract =
        addSubcommand(Request::Kind::EXTRACT, "extract", "Take the contents of a memory out");
    addNumber(extract, "--words", "Memory words to take; otherwise all that the address width says",
              MOST_WORDS, line.words);
    addOutput(extract, "FILE.mem");
    addFile(extract, "FILE.bit", "The bitstream", line.bitFile);
    addFile(extract, "FILE.wid", "The EBRs that make up the memory", line.widFile);
  }

  void addVerify() {
    CLI::App& verify = addSubcommand(Request::Kind::VERIFY, "verify",
                                     "Check that a bitstream contains a memory's contents");
    addJson(verify);
    addFile(verify, "FILE.bit", "The bitstream", line.bitFile);
    addFile(verify, "FILE.wid", "The EBRs that make up the memory", line.widFile);
    addFile(verify, "FILE.mem", "The contents", line.memFile);
  }

  void addDiff() {
    CLI::App& diff =
        addSubcommand(Request::Kind::DIFF, "diff", "Show in which EBRs two bitstreams differ");
    addIdentifierBits(diff);
    addJson(diff);
    addFile(diff, "OLD.bit", "A bitstream", line.bitFile);
    addFile(diff, "NEW.bit", "Another one", line.newBitFile);
  }

  void addLocate() {
    CLI::App& locate = addSubcommand(Request::Kind::LOCATE, "locate",
                                     "Find the EBRs that hold known contents: write the .wid");
    addIdentifierBits(locate);
    addNumber(locate, "--data-width", "Bits of a memory word; otherwise those of a line",
              MOST_DATA_BITS, line.dataWidth);
    addOutput(locate, "FILE.wid");
    addFile(locate, "FILE.bit", "The bitstream", line.bitFile);
    addFile(locate, "FILE.mem", "Contents that are different everywhere", line.memFile);
  }

  CLI::App app{"See what a bitstream contains, take contents out, verify, compare, locate them."};
  CommandLine& line;
  Request::Kind kind = Request::Kind::FAULT;
};

}  // namespace

Request parseCommandLine(int argc, const char* const argv[]) {
  CommandLine commandLine;
  Request request = Parser(commandLine).parse(argc, argv);
  request.commandLine = commandLine;
  return request;
}
