#include "steps/ramgraftfiles.h"

#include <string_view>
#include <utility>

#include "base/assertion.h"
#include "console/lines.h"
#include "inputs/loading.h"
#include "reports/inputs.h"
#include "steps/physicalline.h"
#include "steps/printing.h"

// The characters come by value because callers may rely on handing over a copy.
bool readFileLines(const std::string& fileName, std::vector<std::string>& lines,
                   std::vector<char> commentChars) {  // NOLINT(performance-unnecessary-value-param)
  LineReader reader(fileName, std::string_view(commentChars.data(), commentChars.size()));
  if (!printInputFault(faultOf(reader))) return false;
  for (TextLine line; reader.next(line);) lines.emplace_back(line.text);
  return true;
}

bool checkWidLengths(const std::vector<std::string>& wids) {
  return checkWids(wids, "").kind == InputFault::Kind::NONE;
}

bool parseAddrDataWidth(const std::string& line, int& addrWidth, int& dataWidth) {
  Widths widths{addrWidth, dataWidth};
  const InputFault::Kind kind = parseWidthLine(line, widths);
  if (kind != InputFault::Kind::NONE) {
    printLine("ERROR: ", headOf({.kind = kind}));
    return false;
  }
  addrWidth = widths.address;
  dataWidth = widths.data;
  return true;
}

bool normalizeWids(std::vector<std::string>& wids, int& widLength) {
  assertThat(!wids.empty(), "bool normalizeWids(std::vector<std::string>&, int&)",
             "wids.size() > 0");
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
  if (!printInputFault(fault)) return false;
  printMemoryWarnings(inputs);
  appendPhysicalLines(*inputs.words, newData);
  return readBitFile(bitFile, bitstream);
}

bool readBitFile(const std::string& fileName, Bitstream& bitstream) {
  FileIdentity identity;
  return printInputFault(loadBitstream(fileName, bitstream, identity));
}

bool writeOutput(const std::string& fileName, Bitstream& bitstream) {
  assertThat(bitstream.isByteAligned(), "bool writeOutput(const string&, Bitstream&)",
             "bitstream.isByteAligned()");
  return writeStream(fileName, bitstream, {});
}
