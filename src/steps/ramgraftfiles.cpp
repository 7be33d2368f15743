#include "steps/ramgraftfiles.h"

#include <string_view>
#include <utility>

#include "base/assertion.h"
#include "files/replace.h"
#include "inputs/loading.h"
#include "steps/messages.h"
#include "steps/physicalline.h"

namespace {

// Prints the fault, if there is one. True if there is none.
bool reportFault(const InputFault& fault) {
  printInputFault(fault);
  return fault.kind == InputFault::Kind::NONE;
}

}  // namespace

// The characters come by value because callers may rely on handing over a copy.
bool readFileLines(const std::string& fileName, std::vector<std::string>& lines,
                   std::vector<char> commentChars) {  // NOLINT(performance-unnecessary-value-param)
  LineReader reader(fileName, std::string_view(commentChars.data(), commentChars.size()));
  if (!reportFault(faultOf(reader.getResult(), fileName))) return false;
  for (TextLine line; reader.next(line);) lines.emplace_back(line.text);
  return true;
}

bool checkWidLengths(const std::vector<std::string>& wids) { return haveEqualLengths(wids); }

bool parseAddrDataWidth(const std::string& line, int& addrWidth, int& dataWidth) {
  Widths widths{addrWidth, dataWidth};
  const InputFault::Kind kind = parseWidthLine(line, widths);
  if (kind != InputFault::Kind::NONE) {
    printWidthLineFault(kind);
    return false;
  }
  addrWidth = widths.address;
  dataWidth = widths.data;
  return true;
}

bool normalizeWids(std::vector<std::string>& wids, int& widLength) {
  removePrefixes(wids);
  widLength = static_cast<int>(wids.front().size());
  return true;
}

bool loadInputFiles(const std::string& widFile, const std::string& memFile,
                    const std::string& bitFile, std::vector<std::string>& wids,
                    std::vector<std::string>& newData, int& widLength, Bitstream& bitstream,
                    int& addrWidth, int& dataWidth) {
  MemoryInputs inputs;
  const InputFault fault = loadMemoryInputs({bitFile, widFile, memFile}, inputs);
  wids = std::move(inputs.wids);
  if (!wids.empty()) widLength = static_cast<int>(wids.front().size());
  addrWidth = inputs.widths.address;
  dataWidth = inputs.widths.data;
  if (!reportFault(fault)) return false;
  printMemoryWarnings(inputs, memFile);
  appendPhysicalLines(*inputs.words, newData);
  return readBitFile(bitFile, bitstream);
}

bool readBitFile(const std::string& fileName, Bitstream& bitstream) {
  FileIdentity identity;
  return reportFault(loadBitstream(fileName, bitstream, identity));
}

bool writeOutput(const std::string& fileName, Bitstream& bitstream) {
  assertThat(bitstream.isByteAligned(), "bool writeOutput(const string&, Bitstream&)",
             "bitstream.isByteAligned()");
  const SignalHold signals;  // until the line is printed that reports what became of the file
  const ReplaceResult result =
      replaceFile(fileName, bitstream.getBytes(), bitstream.getNumBytes(), {}, signals);
  printWritten(fileName, result);
  return result.isDone();
}
