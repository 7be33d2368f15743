#include "inspected.h"

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>

#include "base/hexwords.h"
#include "ebr/columns.h"
#include "ebr/graft.h"
#include "ebr/walk.h"
#include "ebr/width.h"
#include "inspect/inspect.h"

namespace {

using Json = nlohmann::json;

// The JSON object after the messages and before the status; nothing if it isn't one.
Json jsonIn(const std::string& text) {
  const std::size_t begin = text.rfind("\n{") + 1;
  return Json::parse(text.substr(begin, text.size() - 1 - begin), nullptr, false);
}

// verify must foresee a run on the same files, and extract must find what a run leaves as it is.
// `output` becomes what the run writes.
std::string brokenRunLaw(const RunFiles& files, std::string& output) {
  const RunResult run = runTool(files);
  output = run.bytes;
  const bool isWritten = run.text.back() == '0';
  const bool isCut = run.text.find("the rest is not written") != std::string::npos;
  const char expected = !isWritten ? '2' : run.bytes == files.bit && !isCut ? '0' : '1';
  const std::string verified = inspect({"verify", "in.bit", "ram.wid", "words.mem"});
  if (verified.back() != expected) return run.text + " but verify: " + verified;
  const std::string json = inspect({"verify", "--json", "in.bit", "ram.wid", "words.mem"});
  if (isWritten && jsonIn(json)["same"] != (expected == '0')) return "verify --json: " + json;
  const std::string taken = inspect({"extract", "in.bit", "ram.wid", "-o", "new.mem"});
  if (taken != "0") return "";
  const RunResult again = runTool({files.bit, files.wid, contentsOf("new.mem")});
  return again.bytes == files.bit ? "" : "extract without warning, but: " + again.text;
}

// What is wrong with a report on the listed EBRs: it has them all or counts those left out, and its
// size has a limit.
std::string brokenPageLaw(const std::string& page, const Json& ebrs) {
  const std::size_t begin = page.find("id=\"data\">") + 10;
  const Json data = Json::parse(page.substr(begin, page.find('<', begin) - begin), nullptr, false);
  if (data.is_discarded()) return "no JSON: " + page;
  const Json& sections = data["sections"];
  if (sections.size() + data["leftOut"]["sections"].get<std::size_t>() != ebrs.size()) return page;
  std::size_t contents = 0;  // in base64
  for (const Json& ebr : sections) {
    for (const char* key : {"old", "new"}) contents += ebr.value(key, "").size();
  }
  return page.size() <= 65536 + contents * 9 / 4 ? "" : "too long: " + page;
}

// The files are those of a run, in the working folder.
std::string brokenStreamLaw(bool isSame) {
  for (const char* bits : {"--id-bits=9", "--id-bits=1", "--"}) {
    const std::string list = inspect({"list", "--json", bits, "in.bit"});
    if (list.back() != '2' && !jsonIn(list).contains("others")) return "list: " + list;
    const std::string diff = inspect({"diff", "--json", bits, "in.bit", "out.bit"});
    if (diff.back() != '2' && jsonIn(diff)["same"] != isSame) return "diff: " + diff;
    if (inspect({"list", bits, "in.bit"}).back() != list.back()) return "list: " + list;
    if (inspect({"diff", bits, "in.bit", "out.bit"}).back() != diff.back()) return "diff: " + diff;
  }
  const std::string list = inspect({"list", "--json", "in.bit"});
  const std::string page = inspect({"report", "in.bit", "out.bit"});
  if (page.back() != list.back()) return "report: " + page;
  const std::string broken =
      page.back() == '2' ? "" : brokenPageLaw(page, jsonIn(list)["sections"]);
  if (!broken.empty()) return broken;
  if (inspect({"locate", "-o", "new.wid", "out.bit", "words.mem"}).back() != '0') return "";
  const std::string verified = inspect({"verify", "--json", "out.bit", "new.wid", "words.mem"});
  const bool isFound = verified.back() == '2' || jsonIn(verified)["different"].empty();
  return isFound ? "" : "located, but " + verified;
}

// The width that is found is that of the walk with the most EBRs, and the next best one is known.
std::string brokenWidthLaw(const RunFiles& files) {
  Bitstream stream(0);
  pushDigits(stream, unpackBytes(files.bit));
  std::vector<std::pair<std::ptrdiff_t, std::uint64_t>> widths;  // minus the EBRs, bits
  for (std::uint64_t bits = 1; bits <= 64; ++bits) {
    widths.emplace_back(
        -std::ranges::count(walkCommands(stream, bits), CommandFault::NONE, &EbrCommand::fault),
        bits);
  }
  std::ranges::sort(widths);
  const WidthFinding found = findIdentifierBits(stream, findAllSections(stream));
  const auto isFound = [&](std::size_t place, std::uint64_t bits, std::uint64_t numEbrs) {
    return -widths[place].first == static_cast<std::ptrdiff_t>(numEbrs) &&
           (numEbrs == 0 || widths[place].second == bits);
  };
  return isFound(0, found.identifierBits, found.numEbrs) &&
                 isFound(1, found.otherBits, found.otherEbrs)
             ? ""
             : "found " + std::to_string(found.identifierBits) + " bits";
}

// Listed EBRs of in.bit are hidden exactly where a run for their identifier alone grafts another
// place or none. At most eight of them, because each takes a run.
std::string brokenHiddenLaw(const RunFiles& files) {
  const std::string bits = std::to_string(std::min(files.wid.find_first_of("\r\n"), 66UL) - 2);
  const std::string list = inspect({"list", "--json", "--id-bits", bits.c_str(), "in.bit"});
  if (list.back() == '2') return "";
  const Json ebrs = jsonIn(list)["sections"];
  int count = 0;
  for (const Json& ebr : ebrs) {
    if (ebr["bytes"] == 0) continue;
    if (++count > 8) break;
    const std::string identifier = ebr["identifier"];
    Bitstream grafted(0);
    pushDigits(grafted, unpackBytes(files.bit));
    const EbrCommand command = readEbrCommand(grafted, ebr["bit"], identifier.size());
    MemoryWords words(1, 8);  // another byte than the first one of the contents
    words.appendBytes(std::vector<unsigned char>{
        static_cast<unsigned char>(grafted.getWindow(command.payloadIndex + 1) >> 56 ^ 0xFF)});
    EbrColumns columns(words);
    replaceContents(grafted, command, columns, 0);
    std::string word;
    appendHexDigits(words.getBytes(), 0, 8, word);
    const RunResult run = runTool({files.bit, "0b" + identifier + "\naw1;dw8", word});
    const bool isReached = unpackBytes(run.bytes) == digitsOf(grafted);
    if (ebr["hidden"] == isReached) return ebr.dump() + " but " + run.text;
  }
  return "";
}

}  // namespace

std::string inspect(std::vector<const char*> arguments) {
  arguments.insert(arguments.begin(), "ramgraft-inspect");
  int status = 0;
  const std::string text =
      outputOf([&] { status = runInspect(static_cast<int>(arguments.size()), arguments.data()); });
  return text + std::to_string(status);
}

std::string digitsOfHex(const std::string& text) {
  std::string bits;
  for (const char digit : text) bits += digits(std::stoul(std::string(1, digit), nullptr, 16), 4);
  return bits;
}

std::string brokenLaw(const RunFiles& files) {
  std::string output;
  std::string broken = brokenRunLaw(files, output);
  if (broken.empty()) broken = brokenHiddenLaw(files);
  if (broken.empty()) broken = brokenWidthLaw(files);
  if (!broken.empty() || output.empty()) return broken;
  runTool(files);  // leaves its files
  broken = brokenStreamLaw(output == files.bit);
  RunFiles next = {output, files.wid, files.mem};
  if (broken.empty()) broken = brokenRunLaw(next, output);
  const std::size_t last = next.mem.find_last_of("0A");
  if (!broken.empty() || last == std::string::npos) return broken;
  next.mem[last] = '1';  // now a single word differs
  return brokenRunLaw(next, output);
}
