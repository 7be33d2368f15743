// `verify`: whether a bitstream contains what a run would write into it.
#include <algorithm>
#include <utility>

#include "base/hexwords.h"
#include "companion/json.h"
#include "companion/opening.h"
#include "companion/options.h"
#include "ebr/chain.h"
#include "inspect/sections.h"
#include "inspect/subcommands.h"
#include "reports/ebrs.h"
#include "reports/text.h"
#include "survey/comparison.h"
#include "survey/rehearsal.h"
#include "survey/walklookup.h"

namespace {

using std::to_string;

// What was found, for printing.
struct Verification {
  std::optional<Lookup> failed;  // the EBR at which a run would fail, if it would
  bool isSame = true;
  Comparison comparison;

  // Calls `show` with the number of each word that differs and the words found.
  template <typename Show>
  void forEachDifferentWord(const MemoryWords& expected, const Show& show) const {
    if (isSame || !comparison.found) return;
    const MemoryWords& found = *comparison.found;
    auto word = nextDifferentWord(expected, found, 0);
    for (; word; word = nextDifferentWord(expected, found, *word + 1)) show(*word, found);
  }

  // Calls `show` with each EBR about which there is more to say.
  template <typename Show>
  void forEachRemarkable(const Show& show) const {
    if (isSame) return;
    for (const EbrFinding& finding : comparison.findings) {
      if (finding.isRemarkable() && !finding.isListedAgain) show(finding);
    }
  }
};

// When no EBR differs, a run would change nothing. Otherwise it almost always would change
// something; only the rehearsal, which overwrites contents in the stream, shows whether.
Verification verify(const MemoryInputs& inputs, Bitstream& bitstream) {
  Verification result;
  result.comparison = compareEbrs(bitstream, inputs);
  const std::vector<EbrFinding>& findings = result.comparison.findings;
  const auto isSame = [](const EbrFinding& finding) { return finding.isSame(); };
  const bool isComplete = findings.size() == inputs.wids.size();
  if (isComplete && std::ranges::all_of(findings, isSame)) return result;
  Rehearsal rehearsal = rehearse(inputs, bitstream);
  result.failed = std::move(rehearsal.failed);
  result.isSame = !rehearsal.isChanged;
  return result;
}

std::uint64_t countWords(const MemoryWords& words) {
  return (words.getBytes().size() * 8 + words.getRoundBits() - 1) / words.getRoundBits();
}

// A word in hexadecimal; at the end of a file with other lines it may be only the start of one.
std::string spellWord(const MemoryWords& words, std::uint64_t word) {
  const std::uint64_t begin = word * words.getRoundBits();
  std::string text;
  appendHexDigits(words.getBytes(), begin,
                  std::min(begin + words.getRoundBits(), words.getBytes().size() * 8), text);
  return text;
}

std::string remarksOn(const EbrFinding& finding) {
  std::string text;
  const auto add = [&](const std::string& remark) { text += (text.empty() ? "" : ", ") + remark; };
  if (finding.hasBitsAfterWords) add("contents that aren't 0 after the words");
  const std::uint64_t ninthBits = finding.facts.ninthBits;
  if (ninthBits != 0) add(countOf(ninthBits, "ninth bit") + " set");
  const CrcCheck& crc = finding.facts.crc;
  if (finding.facts.hasLastingCrc()) return text;
  add(std::string("CRC ").append(nameOf(crc.verdict)) + " (" + toHex16(crc.stored) + ", computed " +
      toHex16(crc.computed) + ")");
  return text;
}

// Where the payload is shorter than the words, a run would leave words out.
void printWarnings(const Verification& result, const MemoryInputs& inputs, Messages& messages) {
  for (const EbrFinding& finding : result.comparison.findings) {
    const std::uint64_t givenWords = (inputs.words->getColumnBits(finding.ebr) + 7) / 8;
    if (givenWords <= finding.writtenWords) continue;
    messages.warn("EBR " + excerptOf(inputs.wids[finding.ebr]) + ": the memory file gives " +
                  countOf(givenWords, "byte") + ", the EBR takes " +
                  to_string(finding.writtenWords) + ": the rest isn't compared");
  }
}

// Where the EBR is that the run doesn't come to, and why. The run has written into the stream until
// then, which can hide an EBR, too.
std::string remarkOn(const std::string& wid, const OpenStream& stream) {
  const auto hidden =
      SectionTable(stream.bitstream, findAllSections(stream.bitstream), wid.size()).findHidden(wid);
  if (!hidden) return "";
  return "; it is at bit " + to_string(hidden->section) + ": " +
         textOf(hidden->hiding, stream.bitstream);
}

void printText(const Verification& result, const MemoryInputs& inputs, StandardOutput& output) {
  constexpr std::uint64_t MOST_SHOWN = 10;
  const MemoryWords& expected = *inputs.words;
  std::uint64_t different = 0;
  result.forEachDifferentWord(expected, [&](std::uint64_t word, const MemoryWords& found) {
    if (++different > MOST_SHOWN) return;
    output.write("word " + to_string(word) + ": expected " + spellWord(expected, word) +
                 ", found " + spellWord(found, word) + "\n");
  });
  if (different > MOST_SHOWN) {
    output.write("... and " + to_string(different - MOST_SHOWN) + " more\n");
  }
  result.forEachRemarkable([&](const EbrFinding& finding) {
    output.write("EBR " + excerptOf(inputs.wids[finding.ebr]) + ": " + remarksOn(finding) + "\n");
  });
  output.write(std::string(result.isSame ? "same" : "not the same") + ": " + to_string(different) +
               " of " + countOf(countWords(expected), "word") + " of " +
               countOf(expected.getRoundBits(), "bit") + " in " +
               countOf(expected.getNumEbrs(), "EBR").append(differFor(different)) + "\n");
}

void printJson(const Verification& result, const MemoryInputs& inputs, const InputNames& names,
               const Messages& messages, StandardOutput& output) {
  const MemoryWords& expected = *inputs.words;
  JsonObject object(output);
  object.add("file", names.bit);
  object.add("wid", names.wid);
  object.add("mem", names.mem);
  object.add("identifierBits", inputs.wids.front().size());
  object.add("same", result.isSame);
  object.add("words", countWords(expected));
  object.beginList("different");
  result.forEachDifferentWord(expected, [&](std::uint64_t word, const MemoryWords& found) {
    object.addElement({{"word", word},
                       {"expected", spellWord(expected, word)},
                       {"found", spellWord(found, word)}});
  });
  object.endList();
  object.beginList("ebrs");
  result.forEachRemarkable([&](const EbrFinding& finding) {
    // GCOVR_EXCL_START: of one statement, gcov takes some lines for untouched.
    object.addElement({{"identifier", inputs.wids[finding.ebr]},
                       {"crc", nameOf(finding.facts.crc.verdict)},
                       {"behind", finding.hasBitsAfterWords},
                       {"ninthBits", finding.facts.ninthBits}});
    // GCOVR_EXCL_STOP
  });
  object.endList();
  object.end(messages.getWarnings());
}

struct Verify {
  std::string bitFile, widFile, memFile;
  bool isJson = false;

  void addTo(CLI::App& app) {
    addJson(app, isJson);
    addFile(app, "FILE.bit", "The bitstream", bitFile);
    addFile(app, "FILE.wid", "The EBRs that make up the memory", widFile);
    addFile(app, "FILE.mem", "The contents", memFile);
  }

  ExitStatus run() const {
    Messages messages(isJson);
    const InputNames names = {bitFile, widFile, memFile};
    MemoryInputs inputs;
    OpenStream stream;
    if (!reportFault(loadMemoryInputs(names, inputs), messages) ||
        !openStream(bitFile, stream, messages)) {
      return ExitStatus::FAILED;
    }
    const std::vector<Lookup> walked = lookUpOnWalk(stream.bitstream, inputs.wids);
    warnOfHidden(stream.bitstream, walked, messages);
    const Verification result = verify(inputs, stream.bitstream);
    if (result.failed) {
      return messages.refuse(textOf(*result.failed) + remarkOn(result.failed->wid, stream));
    }
    printWarnings(result, inputs, messages);
    StandardOutput output;
    isJson ? printJson(result, inputs, names, messages, output) : printText(result, inputs, output);
    return output.finish(result.isSame ? ExitStatus::FINE : ExitStatus::NO);
  }
};

}  // namespace

const Program VERIFY = {"verify", "Check that a bitstream contains a memory's contents",
                        prepare<Verify>};
