#include "inputs/loading.h"

#include <climits>
#include <utility>

namespace {

using Kind = InputFault::Kind;

InputFault faultIn(Kind kind, const WidthLine& line) {
  return faultInLine(kind, line.file, {line.text, line.number});
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
  InputFault fault = readWidthFile(names.wid, inputs.wids, widthLine);
  if (fault.kind != Kind::NONE) return fault;

  // A memory file that can't be opened or read is reported before a bad width line.
  LineReader memoryLines(names.mem, MEMORY_COMMENTS);
  fault = faultOf(memoryLines);
  if (fault.kind != Kind::NONE) return fault;

  fault = interpret(widthLine, inputs);
  if (fault.kind != Kind::NONE) return fault;
  MemoryWords words(inputs.wids.size(), inputs.getBitsPerEbr());
  fault = readMemoryFile(memoryLines, words, inputs.summary);
  if (fault.kind == Kind::NONE) inputs.words.emplace(std::move(words));
  return fault;
}

InputFault loadWidths(const std::string& widFile, MemoryInputs& inputs) {
  WidthLine widthLine;
  const InputFault fault = readWidthFile(widFile, inputs.wids, widthLine);
  return fault.kind == Kind::NONE ? interpret(widthLine, inputs) : fault;
}

InputFault takeMemoryInputs(const std::vector<std::string>& wids, int dataWidth,
                            const std::vector<std::string>& words, MemoryInputs& inputs) {
  InputFault fault = checkWids(wids, "wids");
  if (fault.kind != Kind::NONE) return fault;
  inputs.wids = wids;
  inputs.widths = {.address = INT_MAX, .data = dataWidth};  // no address is too short
  fault = prepare({"data width", "", 0}, inputs);
  if (fault.kind != Kind::NONE) return fault;
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
  ByteBuffer bytes;
  const ReadResult result = readWholeFile(fileName, bytes);
  identity = identityOf(result.status);
  InputFault fault = faultOf(result, fileName);
  fault.isBitstream = true;
  if (fault.kind == Kind::NONE) bitstream.pushBytes(std::move(bytes));
  return fault;
}
