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

}  // namespace

InputFault loadMemoryInputs(const InputNames& names, MemoryInputs& inputs) {
  WidthLine widthLine;
  InputFault fault = readWidthFile(names.wid, inputs.wids, widthLine);
  if (fault.kind != Kind::NONE) return fault;

  // A memory file that can't be opened or read is reported before a bad width line.
  LineReader memoryLines(names.mem, MEMORY_COMMENTS);
  fault = faultOf(memoryLines.getResult(), names.mem);
  if (fault.kind != Kind::NONE) return fault;

  const Kind widthFault = parseWidthLine(widthLine.text, inputs.widths);
  if (widthFault != Kind::NONE) {
    return faultInLine(widthFault, names.wid, {widthLine.text, widthLine.number});
  }
  removePrefixes(inputs.wids);
  const std::size_t numEbrs = inputs.wids.size();
  const int dataWidth = inputs.widths.data;
  if (dataWidth < 1 || static_cast<std::size_t>(dataWidth) < numEbrs) {
    return tooFewDataBits(names.wid, widthLine, dataWidth, numEbrs);
  }
  MemoryWords words(numEbrs, static_cast<std::size_t>(dataWidth) / numEbrs);
  fault = readMemoryFile(memoryLines, names.mem, words, inputs.summary);
  if (fault.kind == Kind::NONE) inputs.words.emplace(std::move(words));
  return fault;
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
