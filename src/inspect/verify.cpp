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
#include "reports/inputs.h"
#include "reports/text.h"
#include "survey/comparison.h"
#include "survey/rehearsal.h"
#include "survey/walklookup.h"

namespace {

using std::to_string;

// What was found, for printing.
struct Verification {
  std::optional<Lookup> failed;  // the EBR at which a run would fail, if it would
  bool isUnchanged = true;       // a run would leave the bitstream as it is
  std::uint64_t wordsWithoutRoom =
      0;  // of the last words, those with bits that the EBRs don't take
  Comparison comparison;

  bool isSame() const { return isUnchanged && wordsWithoutRoom == 0; }

  // Calls `show` with the number of each word that differs and the words found.
  template <typename Show>
  void forEachDifferentWord(const MemoryWords& expected, const Show& show) const {
    if (isUnchanged || !comparison.found) return;
    const MemoryWords& found = *comparison.found;
    auto word = nextDifferentWord(expected, found, 0);
    for (; word; word = nextDifferentWord(expected, found, *word + 1)) show(*word, found);
  }

  // Calls `show` with each EBR about which there is more to say.
  template <typename Show>
  void forEachRemarkable(const Show& show) const {
    if (isUnchanged) return;
    for (const EbrFinding& finding : comparison.findings) {
      if (finding.isRemarkable() && !finding.isListedAgain) show(finding);
    }
  }
};

std::uint64_t countWords(const MemoryWords& words) {
  return (words.getBytes().size() * 8 + words.getRoundBits() - 1) / words.getRoundBits();
}

std::uint64_t countWordsWithoutRoom(const Comparison& comparison, const MemoryWords& words) {
  const std::uint64_t numWords = countWords(words);
  std::uint64_t withRoom = numWords;
  for (const EbrFinding& finding : comparison.findings) {
    const std::uint64_t takenBits = finding.writtenWords * 8;
    if (takenBits >= words.getColumnBits(finding.ebr)) continue;
    withRoom = std::min(withRoom, takenBits / words.getBitsPerEbr());
  }
  return numWords - withRoom;
}

// When no EBR differs, a run would change nothing. Otherwise it almost always would change
// something; only the rehearsal, which overwrites contents in the stream, shows whether.
Verification verify(const MemoryInputs& inputs, Bitstream& bitstream) {
  Verification result;
  result.comparison = compareEbrs(bitstream, inputs);
  result.wordsWithoutRoom = countWordsWithoutRoom(result.comparison, *inputs.words);
  const std::vector<EbrFinding>& findings = result.comparison.findings;
  const auto isSame = [](const EbrFinding& finding) { return finding.isSame(); };
  const bool isComplete = findings.size() == inputs.wids.size();
  if (isComplete && std::ranges::all_of(findings, isSame)) return result;
  Rehearsal rehearsal = rehearse(inputs, bitstream);
  result.failed = std::move(rehearsal.failed);
  result.isUnchanged = !rehearsal.isChanged;
  return result;
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

// The answer in a line. Where words differ, the lines before it say enough of the rest.
std::string summaryOf(const Verification& result, const MemoryInputs& inputs,
                      std::uint64_t different) {
  const std::uint64_t numWords = countWords(*inputs.words), lacking = result.wordsWithoutRoom;
  const std::string words = to_string(different) + " of " + countOf(numWords, "word") + " of " +
                            countOf(inputs.words->getRoundBits(), "bit") + " in " +
                            countOf(inputs.wids.size(), "EBR").append(differFor(different));
  if (result.isSame()) return "same: " + words;
  std::string text = "not the same: ";
  text += different != 0 ? words : lacking == 0 ? "the words are the same" : "";
  if (lacking != 0) {
    text += (different != 0 ? ", " : "") + countOf(lacking, "word");
    text += lacking == 1 ? " has" : " have";
    text += " no room, from word " + to_string(numWords - lacking) + " on";
  }
  if (different != 0) return text;
  std::uint64_t crcs = 0, others = 0;
  result.forEachRemarkable([&](const EbrFinding& finding) {
    crcs += finding.facts.hasLastingCrc() ? 0 : 1;
    others += finding.hasBitsAfterWords || finding.facts.ninthBits != 0 ? 1 : 0;
  });
  if (crcs != 0) text += ", " + countOf(crcs, "CRC").append(differFor(crcs));
  if (others != 0) text += ", " + countOf(others, "EBR").append(differFor(others)) + " elsewhere";
  return text;
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
  output.write(summaryOf(result, inputs, different) + "\n");
}

void printJson(const Verification& result, const MemoryInputs& inputs, const InputNames& names,
               const Messages& messages, StandardOutput& output) {
  const MemoryWords& expected = *inputs.words;
  JsonObject object(output);
  object.add("file", names.bit);
  object.add("wid", names.wid);
  object.add("mem", names.mem);
  object.add("identifierBits", inputs.wids.front().size());
  object.add("same", result.isSame());
  object.add("words", countWords(expected));
  object.add("withoutRoom", result.wordsWithoutRoom);
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
    for (const std::string& warning : warningsOf(inputs)) messages.warn(warning);
    const std::vector<Lookup> walked = lookUpOnWalk(stream.bitstream, inputs.wids);
    warnOfHidden(stream.bitstream, walked, messages);
    const Verification result = verify(inputs, stream.bitstream);
    if (result.failed) {
      return messages.refuse(textOf(*result.failed) + remarkOn(result.failed->wid, stream));
    }
    printWarnings(result, inputs, messages);
    StandardOutput output;
    isJson ? printJson(result, inputs, names, messages, output) : printText(result, inputs, output);
    return output.finish(result.isSame() ? ExitStatus::FINE : ExitStatus::NO);
  }
};

}  // namespace

const Program VERIFY = {"verify", "Check that a bitstream contains a memory's contents",
                        prepare<Verify>};
