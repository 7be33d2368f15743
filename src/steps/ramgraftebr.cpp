#include "steps/ramgraftebr.h"

#include <algorithm>
#include <cstdint>

#include "base/assertion.h"
#include "console/lines.h"
#include "ebr/command.h"
#include "ebr/crcfield.h"
#include "ebr/format.h"
#include "ebr/memorywords.h"
#include "reports/ebrs.h"
#include "steps/physicalline.h"
#include "steps/ramgraftutil.h"

namespace {

constexpr char REPLACE_EBR_DATA[] =
    "bool replaceEbrData(BitstreamTraverser&, std::vector<std::string>, int&, int, int, int, int, "
    "std::list<bool>&)";

// Payload bits that `lines` give, at most `mostBits`. Takes only as many lines as that needs.
std::vector<bool> payloadOf(const std::vector<std::string>& lines, std::size_t begin,
                            std::size_t end, std::uint64_t mostBits) {
  std::vector<bool> payload;
  for (std::size_t line = begin; line < end && payload.size() < mostBits; ++line) {
    const bool isHexadecimal = appendPayloadBits(lines[line], mostBits, payload);
    assertThat(isHexadecimal, REPLACE_EBR_DATA, "hexStringToBytes(newData.at(line), bytes)");
  }
  return payload;
}

}  // namespace

bool findEbrAddressSection(BitstreamTraverser& traverser, std::list<bool>& newBits) {
  std::string opcode;
  intToBinaryString(EBR_ADDRESS_OPCODE, OPCODE_BITS, opcode);
  while (traverser.getBitIndex() < traverser.getBitstream()->getNumBits()) {
    if (traverser.findBits(opcode, newBits) &&
        traverser.expectBits('0', ADDRESS_ZERO_BITS, newBits)) {
      return true;
    }
  }
  return false;
}

bool findEbrDataSection(BitstreamTraverser& traverser, int& dataCount, std::list<bool>& newBits) {
  const Bitstream& bitstream = *traverser.getBitstream();
  const std::uint64_t begin = std::min(traverser.getBitIndex(), bitstream.getNumBits());
  const DataHeader header = readDataHeader(bitstream, begin);
  for (; traverser.getBitIndex() < header.endIndex; traverser.incrementBitIndex()) {
    newBits.push_back(bitstream.getBit(traverser.getBitIndex()));
  }
  if (header.fault != CommandFault::NONE) {
    printLine("ERROR: ",
              detailOf({.fault = header.fault, .faultIndex = header.endIndex}, bitstream));
    return false;
  }
  dataCount = static_cast<int>(header.frameCount);
  return true;
}

void transformLogInitToPhy(const std::vector<std::string>& memoryLines, int /*addrWidth*/,
                           int dataWidth, int numEbrs, std::vector<std::string>& physicalLines) {
  constexpr char SIGNATURE[] =
      "void transformLogInitToPhy(const std::vector<std::string>&, int, int, int, "
      "std::vector<std::string>&)";
  assertThat(numEbrs >= 1 && dataWidth >= numEbrs, SIGNATURE, "bitsPerEbr >= 1");
  const auto bitsPerEbr = static_cast<std::uint64_t>(dataWidth / numEbrs);
  MemoryWords words(static_cast<std::uint64_t>(numEbrs), bitsPerEbr);
  for (const std::string& line : memoryLines) {
    std::vector<unsigned char> bytes;
    hexStringToBytes(line, bytes);
    assertThat(bytes.size() * 8 % bitsPerEbr == 0, SIGNATURE, "bits.size() % bitsPerEbr == 0");
    words.appendBytes(bytes);
  }
  appendPhysicalLines(words, physicalLines);
}

// The lines come by value because callers may rely on handing over a copy.
bool replaceEbrData(
    BitstreamTraverser& traverser,
    // cppcheck-suppress passedByValue
    std::vector<std::string> newData,  // NOLINT(performance-unnecessary-value-param)
    int& startLine, int dataCount, int numEbrs, int /*addrWidth*/, int /*dataWidth*/,
    std::list<bool>& newBits) {
  assertThat(numEbrs >= 1, REPLACE_EBR_DATA, "numEbrs >= 1");
  const int INIT_LINES = static_cast<int>(newData.size() / static_cast<std::size_t>(numEbrs));
  const auto begin = static_cast<std::size_t>(startLine);
  const auto end = begin + static_cast<std::size_t>(INIT_LINES);
  assertThat(end <= newData.size(), REPLACE_EBR_DATA, "startLine + INIT_LINES <= newData.size()");
  const auto frameCount = static_cast<std::uint64_t>(std::max(dataCount, 0));
  Bitstream& bitstream = *traverser.getBitstream();
  if (frameCount * FRAME_BITS + CRC_BITS > traverser.getBitsLeft()) {
    const EbrCommand command = {.fault = CommandFault::NO_PAYLOAD,
                                .faultIndex = traverser.getBitIndex(),
                                .frameCount = frameCount};
    printLine("ERROR: ", detailOf(command, bitstream));
    return false;
  }
  const std::uint64_t crcIndex = traverser.getBitIndex() + frameCount * FRAME_BITS;
  for (const bool bit : payloadOf(newData, begin, end, frameCount * FRAME_BITS)) {
    bitstream.addBit(bit, traverser.getBitIndex());
    newBits.push_back(bit);
    traverser.incrementBitIndex();
  }
  traverser.setBitIndex(crcIndex);
  startLine += INIT_LINES;
  // A negative count of frames covers less than the header; of no bits the CRC is 0.
  const std::int64_t coveredBits = dataCount < 0
                                       ? crcCoveredBits(0) + dataCount * std::int64_t{FRAME_BITS}
                                       : crcCoveredBits(frameCount);
  writeEbrCrc(traverser, static_cast<int>(std::max<std::int64_t>(coveredBits, 0)), newBits);
  return true;
}

void writeEbrCrc(BitstreamTraverser& traverser, int numBits, std::list<bool>& /*newBits*/) {
  assertThat(traverser.getBitsLeft() >= CRC_BITS,
             "void writeEbrCrc(BitstreamTraverser&, int, std::list<bool>&)",
             "traverser.getBitsLeft() >= CRC_BITS");
  writeCrc(*traverser.getBitstream(), traverser.getBitIndex(), numBits);
  for (unsigned bit = 0; bit < CRC_BITS; ++bit) traverser.incrementBitIndex();
}
