#include "inputs/loading.h"

#include <utility>

namespace {

using Kind = InputFault::Kind;

InputFault tooFewDataBits(const std::string& widFile, const WidthLine& line, int dataWidth,
                          std::size_t numEbrs) {
  InputFault fault = faultInLine(Kind::DATA_WIDTH_TOO_SMALL, widFile, {line.text, line.number});
  fault.found = dataWidth;
  fault.wanted = static_cast<std::int64_t>(numEbrs);
  return fault;
}

// Makes sense of a width file's lines.
InputFault interpret(const std::string& widFile, const WidthLine& widthLine, MemoryInputs& inputs) {
  const Kind widthFault = parseWidthLine(widthLine.text, inputs.widths);
  if (widthFault != Kind::NONE) {
    return faultInLine(widthFault, widFile, {widthLine.text, widthLine.number});
  }
  removePrefixes(inputs.wids);
  const int dataWidth = inputs.widths.data;
  if (dataWidth < 1 || static_cast<std::size_t>(dataWidth) < inputs.wids.size()) {
    return tooFewDataBits(widFile, widthLine, dataWidth, inputs.wids.size());
  }
  return {};
}

}  // namespace

InputFault loadMemoryInputs(const InputNames& names, MemoryInputs& inputs) {
  WidthLine widthLine;
  InputFault fault = readWidthFile(names.wid, inputs.wids, widthLine);
  if (fault.kind != Kind::NONE) return fault;

  // A memory file that can't be opened or read is reported before a bad width line.
  LineReader memoryLines(names.mem, MEMORY_COMMENTS);
  fault = faultOf(memoryLines.getResult(), names.mem);
  if (fault.kind != Kind::NONE) return fault;

  fault = interpret(names.wid, widthLine, inputs);
  if (fault.kind != Kind::NONE) return fault;
  MemoryWords words(inputs.wids.size(), inputs.getBitsPerEbr());
  fault = readMemoryFile(memoryLines, names.mem, words, inputs.summary);
  if (fault.kind == Kind::NONE) inputs.words.emplace(std::move(words));
  return fault;
}

InputFault loadWidths(const std::string& widFile, MemoryInputs& inputs) {
  WidthLine widthLine;
  const InputFault fault = readWidthFile(widFile, inputs.wids, widthLine);
  return fault.kind == Kind::NONE ? interpret(widFile, widthLine, inputs) : fault;
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
