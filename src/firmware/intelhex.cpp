// A record:
//
//   :10 0100 00 214601360121470136007EFE09D21901 40
//    |  |    |  data                             checksum: makes the sum of all bytes 0
//    |  |    type
//    |  offset from the base address
//    bytes of data
#include "firmware/intelhex.h"

#include <array>

#include "firmware/recordline.h"

namespace {

constexpr RecordForm FORM = {.prefix = 1, .uncounted = 5, .checksumTotal = 0};
constexpr std::size_t OFFSET_INDEX = 1, TYPE_INDEX = 3, DATA_INDEX = 4;

enum Type : std::uint8_t { DATA, END, SEGMENT_BASE, SEGMENT_START, LINEAR_BASE, LINEAR_START };
// Bytes of data that a record of each type but DATA has.
constexpr std::array<std::size_t, 6> DATA_BYTES = {0, 0, 2, 4, 2, 4};

constexpr std::uint64_t SEGMENT_BYTES = UINT64_C(1) << 16;
constexpr std::uint64_t LINEAR_BYTES = UINT64_C(1) << 32;

class IntelHexReader {
 public:
  IntelHexReader(const std::string& fileName, std::span<const unsigned char> bytes,
                 const PieceVisitor& visit)
      : lines(FORM, fileName, bytes), pieces(visit, bytes.size()) {}

  std::string read() {
    while (lines.next()) {
      if (std::string wrong = readRecord(); !wrong.empty()) return wrong;
    }
    if (endLine == 0) return lines.fileFault("no end record, so the file may be cut off");
    return pieces.isEmpty() ? lines.fileFault("no data") : pieces.finish();
  }

 private:
  std::string readRecord() {
    if (lines.lineText()[0] != ':') return lines.noRecord();
    if (std::string wrong = lines.decode(); !wrong.empty()) return wrong;
    if (endLine != 0) {
      return lines.fault("a record after the end record in line " + std::to_string(endLine));
    }
    const auto type = static_cast<Type>(lines.record()[TYPE_INDEX]);
    if (type == DATA) return readData();
    if (type >= DATA_BYTES.size())
      return lines.fault("record type " + std::to_string(type) + " is unknown");
    const std::size_t length = lines.record()[0];
    if (length != DATA_BYTES[type]) return lines.wrongByte("length", length, DATA_BYTES[type]);
    if (type == END) endLine = lines.lineNumber();
    if (type == SEGMENT_BASE || type == LINEAR_BASE) {
      isLinear = type == LINEAR_BASE;
      base = lines.numberAt(DATA_INDEX, 2) << (isLinear ? 16 : 4);
    }
    return {};
  }

  // As published, an offset past 0xFFFF goes on at the segment's begin, but after a linear base at
  // the next address, and past 2^32 - 1 at 0. Nobody means to wrap, and readers disagree about it,
  // so what would wrap is refused.
  std::string readData() {
    const std::uint64_t offset = lines.numberAt(OFFSET_INDEX, 2);
    const std::span<const unsigned char> data =
        lines.record().subspan(DATA_INDEX, lines.record()[0]);
    if (!isLinear && offset + data.size() > SEGMENT_BYTES) {
      return lines.fault("data across the end of a segment");
    }
    if (base + offset + data.size() > LINEAR_BYTES) {
      return lines.fault("data past the last address");
    }
    return pieces.add(base + offset, data, lines.lineNumber());
  }

  RecordLines lines;
  RecordPieces pieces;
  std::uint64_t base = 0;
  bool isLinear = false;      ///< what the base is; the older, narrower kind until a record says
  std::uint64_t endLine = 0;  ///< of the end record; 0 before it
};

}  // namespace

std::string readIntelHex(const std::string& fileName, std::span<const unsigned char> bytes,
                         const PieceVisitor& visit) {
  return IntelHexReader(fileName, bytes, visit).read();
}
