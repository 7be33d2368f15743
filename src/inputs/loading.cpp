#include "inputs/loading.h"

#include <climits>
#include <map>
#include <numeric>
#include <string_view>
#include <utility>

namespace {

using Kind = InputFault::Kind;

InputFault faultIn(Kind kind, const WidthLine& line) {
  return faultInLine(kind, line.file, {line.text, line.number});
}

// `lines` are the wids' in the file.
RepeatedWid findRepeated(const std::string& file, const std::vector<std::string>& wids,
                         const std::vector<std::uint64_t>& lines) {
  RepeatedWid repeated;
  std::map<std::string_view, std::uint64_t> firstLines;
  for (std::size_t i = 0; i < wids.size(); ++i) {
    const auto [first, isNew] = firstLines.emplace(wids[i], lines[i]);
    if (!isNew && repeated.numLines++ == 0) repeated = {file, lines[i], first->second, 1};
  }
  return repeated;
}

// Makes the wids and the data width usable. `line` is the one that has the width.
InputFault prepare(const WidthLine& line, MemoryInputs& inputs) {
  removePrefixes(inputs.wids);
  const int dataWidth = inputs.widths.data;
  if (dataWidth >= 1 && static_cast<std::size_t>(dataWidth) >= inputs.wids.size()) return {};
  InputFault fault = faultIn(Kind::DATA_WIDTH_TOO_SMALL, line);
  fault.found = dataWidth;
  fault.wanted = static_cast<std::int64_t>(inputs.wids.size());
  return fault;
}

// Makes sense of a width file's lines.
InputFault interpret(const WidthLine& line, MemoryInputs& inputs) {
  const Kind kind = parseWidthLine(line.text, inputs.widths);
  return kind == Kind::NONE ? prepare(line, inputs) : faultIn(kind, line);
}

}  // namespace

InputFault loadMemoryInputs(const InputNames& names, MemoryInputs& inputs) {
  WidthLine widthLine;
  std::vector<std::uint64_t> lines;
  InputFault fault = readWidthFile(names.wid, inputs.wids, lines, widthLine);
  fault.fileKind = widthLine.fileKind;
  if (fault.kind != Kind::NONE) return fault;

  // A memory file that can't be opened or read is reported before a bad width line.
  LineReader memoryLines(names.mem, MEMORY_COMMENTS);
  inputs.files = {{names.wid, widthLine.identity},
                  {names.mem, identityOf(memoryLines.getResult().status)}};
  fault = faultOf(memoryLines);
  if (fault.kind != Kind::NONE) return fault;

  fault = interpret(widthLine, inputs);
  fault.fileKind = widthLine.fileKind;
  if (fault.kind != Kind::NONE) return fault;
  inputs.repeated = findRepeated(names.wid, inputs.wids, lines);
  MemoryWords words(inputs.wids.size(), inputs.getBitsPerEbr());
  fault = readMemoryFile(memoryLines, words, inputs.summary);
  fault.fileKind = fileKindOf(memoryLines.getBytes());
  if (fault.kind == Kind::NONE) inputs.words.emplace(std::move(words));
  return fault;
}

InputFault loadWidths(const std::string& widFile, MemoryInputs& inputs) {
  WidthLine widthLine;
  std::vector<std::uint64_t> lines;
  const InputFault fault = readWidthFile(widFile, inputs.wids, lines, widthLine);
  return fault.kind == Kind::NONE ? interpret(widthLine, inputs) : fault;
}

InputFault takeMemoryInputs(const std::vector<std::string>& wids, int dataWidth,
                            const std::vector<std::string>& words, MemoryInputs& inputs) {
  InputFault fault = checkWids(wids, "wids");
  if (fault.kind != Kind::NONE) return fault;
  inputs.wids = wids;
  std::vector<std::uint64_t> lines(wids.size());
  std::iota(lines.begin(), lines.end(), 1);
  inputs.widths = {.address = INT_MAX, .data = dataWidth};  // no address is too short
  fault = prepare({"data width", {}, {}, "", 0}, inputs);
  if (fault.kind != Kind::NONE) return fault;
  inputs.repeated = findRepeated("wids", inputs.wids, lines);
  MemoryWords taken(wids.size(), inputs.getBitsPerEbr());
  fault = readMemoryLines(words, "words", taken, inputs.summary);
  if (fault.kind == Kind::NONE) inputs.words.emplace(std::move(taken));
  return fault;
}

InputFault loadBytes(const std::string& fileName, ByteBuffer& bytes, FileIdentity& identity) {
  const ReadResult result = readWholeFile(fileName, bytes, MOST_INPUT_BYTES);
  identity = identityOf(result.status);
  return faultOf(result, fileName);
}

InputFault loadBitstream(const std::string& fileName, Bitstream& bitstream,
                         FileIdentity& identity) {
  Update none;
  return loadBitstream(fileName, "", bitstream, identity, none);
}

InputFault loadBitstream(const std::string& fileName, const std::string& outputFile,
                         Bitstream& bitstream, FileIdentity& identity, Update& update) {
  update = beginUpdate(fileName, outputFile);
  ByteBuffer bytes;
  ReadResult result;
  if (update.isTimedOut) {
    result.outcome = ReadResult::Outcome::LOCKED;  // GCOVR_EXCL_LINE: after a minute
  } else if (update.file.isOpen()) {
    result = readWholeFile(update.file, bytes);
  } else {
    result = readWholeFile(fileName, bytes);
  }
  identity = identityOf(result.status);
  InputFault fault = faultOf(result, fileName);
  fault.isBitstream = true;
  if (fault.kind == Kind::NONE) bitstream.pushBytes(std::move(bytes));
  return fault;
}
