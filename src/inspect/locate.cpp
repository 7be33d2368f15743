#include "inspect/locate.h"

#include <algorithm>

#include "console/lines.h"
#include "files/read.h"
#include "inputs/memoryfile.h"
#include "inspect/matching.h"
#include "inspect/opening.h"
#include "inspect/output.h"
#include "inspect/texts.h"

namespace {

using std::to_string;

// No device has as many EBRs. Spares time and memory for lines of millions of digits.
constexpr std::uint64_t MOST_EBRS = 65536;

// The known contents.
struct KnownWords {
  MemoryWords words{1, 1};
  std::uint64_t dataWidth = 0;

  std::uint64_t count() const { return words.getBytes().size() * 8 / dataWidth; }
};

// Why a memory file can't be used; empty if it can.
std::string faultIn(const EqualLines& lines, const std::string& fileName, std::uint64_t dataWidth) {
  if (lines.numLines == 0) return fileName + ": holds no memory words";
  if (lines.firstOther != 0) {
    return fileName + ", line " + to_string(lines.firstOther) + ": " + to_string(lines.otherBits) +
           " bits, the first word's line has " + to_string(lines.bits);
  }
  if (lines.bits % dataWidth != 0) {
    return "--data-width: the lines of " + fileName + " have " + to_string(lines.bits) +
           " bits, which is no multiple of " + to_string(dataWidth);
  }
  return "";
}

// False if the words can't be used, which is said on standard error. Without a data width in the
// command line a word is a line.
bool loadWords(const CommandLine& commandLine, KnownWords& known) {
  const std::string& fileName = commandLine.memFile;
  LineReader reader(fileName, MEMORY_COMMENTS);
  EqualLines lines;
  if (!isReadable(faultOf(reader.getResult(), fileName)) ||
      !isReadable(readEqualLines(reader, fileName, known.words, lines))) {
    return false;
  }
  known.dataWidth = commandLine.dataWidth != 0 ? commandLine.dataWidth : lines.bits;
  const std::string fault = faultIn(lines, fileName, known.dataWidth);
  if (!fault.empty()) printDiagnostic("ERROR: ", fault);
  return fault.empty();
}

// The EBRs that a run can get to.
struct ReachableEbrs {
  std::vector<EbrCommand> commands;
  std::vector<std::string> identifiers;
};

ReachableEbrs findReachable(const SectionTable& table) {
  ReachableEbrs found;
  for (std::size_t i = 0; i < table.size(); ++i) {
    const EbrCommand command = table.getCommand(i);
    if (command.fault != CommandFault::NONE || table.isHidden(i)) continue;
    found.commands.push_back(command);
    found.identifiers.push_back(table.getIdentifier(i));
  }
  return found;
}

// One way of dealing out the words, and where the columns were found.
struct Fit {
  std::uint64_t bitsPerEbr = 0;
  std::uint64_t numColumns = 0;
  std::uint64_t numFound = 0;
  std::vector<ColumnMatch> matches;

  bool isWhole() const { return numFound == numColumns; }
  bool isUnique() const {
    return isWhole() && std::ranges::all_of(matches, &ColumnMatch::isUnique);
  }
};

// The ways in which every column was found, and of the others the best.
struct Fits {
  std::vector<Fit> unique, ambiguous;
  Fit best;

  void add(Fit fit) {
    if (fit.isUnique()) {
      unique.push_back(std::move(fit));
    } else if (fit.isWhole()) {
      ambiguous.push_back(std::move(fit));
    } else if (best.numColumns == 0 ||
               fit.numFound * best.numColumns > best.numFound * fit.numColumns) {
      best = std::move(fit);
    }
  }
};

// Tries every number of EBRs that divides the data width.
Fits findFits(const Bitstream& bitstream, const ReachableEbrs& ebrs, KnownWords& known) {
  Fits fits;
  for (std::uint64_t count = 1; count <= std::min(known.dataWidth, MOST_EBRS); ++count) {
    if (known.dataWidth % count != 0) continue;
    Fit fit;
    fit.bitsPerEbr = known.dataWidth / count;
    fit.numColumns = count;
    known.words.deal(count, fit.bitsPerEbr);
    fit.matches = matchColumns(bitstream, ebrs.commands, known.words);
    for (const ColumnMatch& match : fit.matches) fit.numFound += match.columns.size();
    fits.add(std::move(fit));
  }
  return fits;
}

// The first few of the items as text.
template <typename Items, typename ToText>
std::string enumerate(const Items& items, const ToText& toText) {
  constexpr std::size_t MOST_SHOWN = 4;
  std::string text;
  for (std::size_t i = 0; i < std::min(items.size(), MOST_SHOWN); ++i) {
    text += (i == 0 ? "" : ", ") + toText(items[i]);
  }
  return items.size() > MOST_SHOWN ? text + ", ..." : text;
}

std::string describe(const Fit& fit) {
  return countOf(fit.bitsPerEbr, "bit") + " of each word in each of " +
         countOf(fit.numColumns, "EBR");
}

void explainAmbiguity(const Fit& fit, const ReachableEbrs& ebrs) {
  const auto match =
      std::ranges::find_if(fit.matches, [](const ColumnMatch& each) { return !each.isUnique(); });
  const auto wordBits = [&](std::uint64_t column) {
    const std::uint64_t low = column * fit.bitsPerEbr;
    const std::uint64_t high = low + fit.bitsPerEbr - 1;
    return high == low ? to_string(low) : to_string(high) + ":" + to_string(low);
  };
  const auto identifier = [&](std::size_t ebr) { return ebrs.identifiers[ebr]; };
  printDiagnostic("not located: with ", describe(fit),
                  ", the contents can't tell EBRs apart: ", "bits ",
                  enumerate(match->columns, wordBits), " of the words are found in ",
                  enumerate(match->ebrs, identifier));
}

// Says why there is no single answer.
void explain(const Fits& fits, const ReachableEbrs& ebrs) {
  if (fits.unique.size() > 1) {
    printDiagnostic("not located: more than one way fits: ", enumerate(fits.unique, describe));
  } else if (!fits.ambiguous.empty()) {
    explainAmbiguity(fits.ambiguous.front(), ebrs);
  } else {
    printDiagnostic("not located: the best try is ", describe(fits.best), ": ",
                    to_string(fits.best.numFound), " of ", countOf(fits.best.numColumns, "column"),
                    " found");
  }
}

std::string spellWidthFile(const Fit& fit, const ReachableEbrs& ebrs, const KnownWords& known) {
  std::vector<std::size_t> ebrOf(fit.numColumns);
  for (const ColumnMatch& match : fit.matches) ebrOf[match.columns.front()] = match.ebrs.front();
  std::string text;
  for (const std::size_t ebr : ebrOf) text += "0b" + ebrs.identifiers[ebr] + "\n";
  unsigned addressWidth = 1;
  while (addressWidth < 63 && UINT64_C(1) << addressWidth < known.count()) ++addressWidth;
  return text + "aw" + to_string(addressWidth) + ";dw" + to_string(known.dataWidth) + "\n";
}

}  // namespace

ExitStatus runLocate(const CommandLine& commandLine) {
  KnownWords known;
  OpenStream stream;
  if (!loadWords(commandLine, known) || !openStream(commandLine.bitFile, stream)) {
    return ExitStatus::FAILED;
  }
  const std::optional<SectionTable> table =
      findSections(stream.bitstream, commandLine.bitFile, commandLine.identifierBits);
  if (!table) return ExitStatus::FAILED;
  const ReachableEbrs ebrs = findReachable(*table);
  const Fits fits = findFits(stream.bitstream, ebrs, known);
  if (fits.unique.size() != 1) {
    explain(fits, ebrs);
    return ExitStatus::NO;
  }
  return putResult(commandLine.outputFile, spellWidthFile(fits.unique.front(), ebrs, known),
                   stream.identity);
}
