// A record:
//
//   S1 13 7AF0 0A0A0D00000000000000000000000000 61
//    | |  |    data                             checksum: makes the sum of all bytes end in FF
//    | |  address, or a count of records
//    | bytes that follow
//    type
#include "firmware/srecord.h"

#include <array>

#include "firmware/recordline.h"

namespace {

constexpr RecordForm FORM = {.prefix = 2, .uncounted = 1, .checksumTotal = 0xFF};
constexpr std::size_t ADDRESS_INDEX = 1;

// Bytes of the address or count that a record of each type has; 0 for the reserved type.
constexpr std::array<std::size_t, 10> ADDRESS_BYTES = {2, 2, 3, 4, 0, 2, 3, 4, 3, 2};

constexpr bool isData(std::size_t type) { return type >= 1 && type <= 3; }
constexpr bool isCount(std::size_t type) { return type == 5 || type == 6; }
constexpr bool isEnd(std::size_t type) { return type >= 7; }
// Type of the data records that a file with this terminator has.
constexpr std::size_t dataTypeOf(std::size_t endType) { return 10 - endType; }

std::string typeText(std::size_t type) { return {'S', "0123456789"[type]}; }

class SRecordReader {
 public:
  SRecordReader(const std::string& fileName, std::span<const unsigned char> bytes,
                const PieceVisitor& visit)
      : lines(FORM, fileName, bytes), pieces(visit, bytes.size()) {}

  std::string read() {
    while (lines.next()) {
      if (std::string wrong = readRecord(); !wrong.empty()) return wrong;
    }
    if (endLine == 0) return lines.fileFault("no S7, S8 or S9 record, so the file may be cut off");
    return pieces.isEmpty() ? lines.fileFault("no data") : pieces.finish();
  }

 private:
  std::string readRecord() {
    const std::string_view text = lines.lineText();
    if (text.size() < 2 || text[0] != 'S' || text[1] < '0' || text[1] > '9') {
      return lines.noRecord();
    }
    if (std::string wrong = lines.decode(); !wrong.empty()) return wrong;
    if (endLine != 0) {
      return lines.fault("a record after the last one, in line " + std::to_string(endLine));
    }
    const auto type = static_cast<std::size_t>(text[1] - '0');
    if (ADDRESS_BYTES[type] == 0) return lines.fault("record type S4 is reserved");
    if (std::string wrong = checkLength(type); !wrong.empty()) return wrong;
    if (isData(type)) return readData(type);
    if (isCount(type)) return checkCount(type);
    return isEnd(type) ? readEnd(type) : "";
  }

  // Only headers and data records have bytes between address and checksum.
  std::string checkLength(std::size_t type) const {
    const std::size_t length = lines.record()[0], least = ADDRESS_BYTES[type] + 1;
    const bool isRight = isCount(type) || isEnd(type) ? length == least : length >= least;
    return isRight ? "" : lines.wrongByte("length", length, least);
  }

  std::string readData(std::size_t type) {
    const std::size_t width = ADDRESS_BYTES[type];
    const std::uint64_t address = lines.numberAt(ADDRESS_INDEX, width);
    const std::size_t begin = ADDRESS_INDEX + width;
    const auto data = lines.record().subspan(begin, lines.record().size() - begin - 1);
    if (address + data.size() > UINT64_C(1) << 8 * width) {
      return lines.fault("data past the last address of an " + typeText(type) + " record");
    }
    ++numRecords[type];
    return pieces.add(address, data, lines.lineNumber());
  }

  std::string checkCount(std::size_t type) const {
    const std::uint64_t count = lines.numberAt(ADDRESS_INDEX, ADDRESS_BYTES[type]);
    const std::uint64_t wanted = numRecords[1] + numRecords[2] + numRecords[3];
    if (count == wanted) return {};
    return lines.fault("count " + std::to_string(count) + " of data records, should be " +
                       std::to_string(wanted));
  }

  // The three kinds of data record may be mixed, so a terminator needs only one that it matches. If
  // it matches none, parts of two files were mixed up, or a type was damaged: the checksum doesn't
  // cover types.
  std::string readEnd(std::size_t type) {
    endLine = lines.lineNumber();
    const std::size_t matching = dataTypeOf(type);
    if (pieces.isEmpty() || numRecords[matching] != 0) return {};
    return lines.fault(typeText(type) + " ends a file with " + typeText(matching) +
                       " records, and there are none");
  }

  RecordLines lines;
  RecordPieces pieces;
  std::array<std::uint64_t, 4> numRecords = {};  ///< by type
  std::uint64_t endLine = 0;                     ///< of the terminator; 0 before it
};

}  // namespace

std::string readSRecord(const std::string& fileName, std::span<const unsigned char> bytes,
                        const PieceVisitor& visit) {
  return SRecordReader(fileName, bytes, visit).read();
}
