// `locate`: the width file of a memory whose contents are known.
#include <algorithm>
#include <climits>

#include "companion/output.h"
#include "console/lines.h"
#include "inputs/memoryfile.h"
#include "inputs/widthfile.h"
#include "inspect/sections.h"
#include "inspect/subcommands.h"
#include "reports/position.h"
#include "reports/text.h"
#include "survey/fitting.h"

namespace {

using std::to_string;

// The known contents.
struct KnownWords {
  MemoryWords words{1, 1};
  std::uint64_t dataWidth = 0;

  std::uint64_t count() const { return words.getBytes().size() * 8 / dataWidth; }
};

// Why a memory file can't be used; empty if it can.
std::string faultIn(const EqualLines& lines, const std::string& fileName, std::uint64_t dataWidth) {
  if (lines.numLines == 0) return positionText(fileName) + "holds no memory words";
  if (lines.firstOther != 0) {
    return positionText(fileName, lines.firstOther) + to_string(lines.otherBits) +
           " bits, the first word's line has " + to_string(lines.bits);
  }
  if (lines.bits % dataWidth != 0) {
    return "--data-width: the lines of " + fileName + " have " + to_string(lines.bits) +
           " bits, which is no multiple of " + to_string(dataWidth);
  }
  return "";
}

// False if the words can't be used, which is reported. Without a data width a word is a line.
bool loadWords(const std::string& fileName, KnownWords& known, const Messages& messages) {
  LineReader reader(fileName, MEMORY_COMMENTS);
  EqualLines lines;
  if (!reportFault(faultOf(reader), messages) ||
      !reportFault(readEqualLines(reader, known.words, lines), messages)) {
    return false;
  }
  if (known.dataWidth == 0) known.dataWidth = lines.bits;
  const std::string fault = faultIn(lines, fileName, known.dataWidth);
  if (!fault.empty()) messages.refuse(fault);
  return fault.empty();
}

using Identifiers = std::function<std::string(std::size_t ebr)>;

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

void explainAmbiguity(const Fit& fit, const Identifiers& identifiers) {
  const auto match =
      std::ranges::find_if(fit.matches, [](const ColumnMatch& each) { return !each.isUnique(); });
  const auto wordBits = [&](std::uint64_t column) {
    const std::uint64_t low = column * fit.bitsPerEbr;
    const std::uint64_t high = low + fit.bitsPerEbr - 1;
    return high == low ? to_string(low) : to_string(high) + ":" + to_string(low);
  };
  printDiagnostic("not located: with ", describe(fit),
                  ", the contents can't tell EBRs apart: ", "bits ",
                  enumerate(match->columns, wordBits), " of the words are found in ",
                  enumerate(match->ebrs, identifiers));
}

// Says why there is no single answer.
void explain(const Fits& fits, const Identifiers& identifiers) {
  if (fits.unique.size() > 1) {
    printDiagnostic("not located: more than one way fits: ", enumerate(fits.unique, describe));
  } else if (!fits.ambiguous.empty()) {
    explainAmbiguity(fits.ambiguous.front(), identifiers);
  } else {
    printDiagnostic("not located: the best try is ", describe(fits.best), ": ",
                    to_string(fits.best.numFound), " of ", countOf(fits.best.numColumns, "column"),
                    " found");
  }
}

// The smallest address that reaches so many words.
int addressWidthFor(std::uint64_t numWords) {
  int width = 1;
  while (width < 63 && UINT64_C(1) << width < numWords) ++width;
  return width;
}

struct Locate {
  std::string bitFile, memFile;
  std::optional<std::string> outputFile;
  std::uint64_t identifierBits = 0;
  Detail detail = Detail::USUAL;
  std::uint64_t dataWidth = 0;  // 0 if a word is a line

  void addTo(CLI::App& app) {
    addIdentifierBits(app, identifierBits, detail);
    addNumber(app, "--data-width", "Bits of a memory word; otherwise those of a line", INT_MAX,
              dataWidth);
    addOutput(app, "FILE.wid", outputFile);
    addFile(app, "FILE.bit", "The bitstream", bitFile);
    addFile(app, "FILE.mem", "Contents that are different everywhere", memFile);
  }

  ExitStatus run() const {
    Messages messages(false, detail);
    KnownWords known;
    known.dataWidth = dataWidth;
    OpenStream stream;
    if (!loadWords(memFile, known, messages) || !openStream(bitFile, stream, messages))
      return ExitStatus::FAILED;
    const std::optional<SectionTable> table = findSections(stream, identifierBits, messages);
    if (!table) return ExitStatus::FAILED;
    const std::vector<EbrCommand> ebrs = table->findEbrs();
    const auto identifiers = [&](std::size_t ebr) { return table->getIdentifier(ebrs[ebr]); };
    const Fits fits = findFits(stream.bitstream, ebrs, known.words, known.dataWidth);
    if (fits.unique.size() != 1) {
      explain(fits, identifiers);
      return ExitStatus::NO;
    }
    const Widths widths = {addressWidthFor(known.count()), static_cast<int>(known.dataWidth)};
    std::vector<std::string> wids(fits.unique.front().numColumns);
    for (const ColumnMatch& match : fits.unique.front().matches) {
      const EbrCommand& ebr = ebrs[match.ebrs.front()];
      wids[match.columns.front()] = table->getIdentifier(ebr);
      warnOfHidden(*table, ebr, messages);
    }
    return putResult(outputFile, spellWidthFile(wids, widths), {bitFile, memFile}, messages);
  }
};

}  // namespace

const Program LOCATE = {"locate", "Find the EBRs that hold known contents: write the .wid",
                        prepare<Locate>};
