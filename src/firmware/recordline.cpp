#include "firmware/recordline.h"

#include <algorithm>
#include <numeric>

#include "base/digits.h"
#include "reports/position.h"

namespace {

// The longest length that a record's length byte can give.
constexpr std::size_t MOST_LENGTH = 0xFF;

std::string byteText(std::uint64_t byte) {
  return {HEX_DIGITS[byte >> 4 & 0xF], HEX_DIGITS[byte & 0xF]};
}

}  // namespace

RecordLines::RecordLines(const RecordForm& recordForm, const std::string& file,
                         std::span<const unsigned char> bytesOfFile)
    : form(recordForm),
      fileName(file),
      rest(reinterpret_cast<const char*>(bytesOfFile.data()), bytesOfFile.size()) {}

bool RecordLines::next() {
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    text = rest.substr(0, end);
    text = text.substr(0, text.find_last_not_of(" \t\r") + 1);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    ++number;
    if (!text.empty()) return true;
  }
  return false;
}

std::string RecordLines::decode() {
  if (text.size() > form.prefix + 2 * (MOST_LENGTH + form.uncounted)) {
    return fault("longer than a record can be");
  }
  const std::string_view digits = text.substr(std::min(form.prefix, text.size()));
  if (std::string wrong = checkDigits(digits); !wrong.empty()) return wrong;
  bytes.clear();
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    const int value = hexDigitValue(digits[i]) * 16 + hexDigitValue(digits[i + 1]);
    bytes.push_back(static_cast<unsigned char>(value));
  }
  if (bytes.size() < std::max<std::size_t>(2, form.uncounted))
    return fault("too short for a record");
  const std::size_t length = bytes.size() - form.uncounted;
  if (bytes[0] != length) return wrongByte("length", bytes[0], length);
  const unsigned sum = std::accumulate(bytes.begin(), bytes.end() - 1, 0U);
  const unsigned checksum = (form.checksumTotal - sum) & 0xFF;
  if (bytes.back() != checksum) return wrongByte("checksum", bytes.back(), checksum);
  return {};
}

std::string RecordLines::checkDigits(std::string_view digits) const {
  const auto other = std::find_if(digits.begin(), digits.end(),
                                  [](char digit) { return hexDigitValue(digit) < 0; });
  if (other != digits.end()) {
    const auto column = static_cast<std::size_t>(&*other - text.data()) + 1;
    return positionText(fileName, number, column) + "not a hexadecimal digit";
  }
  return digits.size() % 2 == 0 ? "" : fault("an odd number of digits");
}

std::uint64_t RecordLines::numberAt(std::size_t begin, std::size_t count) const {
  const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(begin);
  return std::accumulate(first, first + static_cast<std::ptrdiff_t>(count), UINT64_C(0),
                         [](std::uint64_t value, unsigned char byte) { return value << 8 | byte; });
}

std::string RecordLines::fault(const std::string& what) const {
  return positionText(fileName, number) + what;
}

std::string RecordLines::noRecord() const {
  constexpr std::size_t MOST_CHARACTERS = 60;
  std::string excerpt(text.substr(0, MOST_CHARACTERS));
  if (text.size() > MOST_CHARACTERS) excerpt += "...";
  return fault("not a record: '" + excerpt + "'");
}

std::string RecordLines::wrongByte(const std::string& what, std::uint64_t found,
                                   std::uint64_t wanted) const {
  return fault(what + " " + byteText(found) + ", should be " + byteText(wanted));
}

std::string RecordLines::fileFault(const std::string& what) const {
  return positionText(fileName) + what;
}

// Two digits make a byte, so half of the file is room enough. What isn't used is never touched, and
// costs no memory.
RecordPieces::RecordPieces(const PieceVisitor& toVisit, std::size_t fileBytes) : visit(toVisit) {
  bytes.reserve(fileBytes / 2);
}

std::string RecordPieces::add(std::uint64_t address, std::span<const unsigned char> data,
                              std::uint64_t line) {
  if (data.empty()) return {};
  if (!continuesPiece(address, data.size(), line)) {
    if (std::string wrong = finish(); !wrong.empty()) return wrong;
    piece = {address, {}, {}, line, data.size()};
  }
  bytes.insert(bytes.end(), data.begin(), data.end());
  lastLine = line;
  lastBytes = data.size();
  return {};
}

std::string RecordPieces::finish() {
  if (bytes.empty()) return {};
  piece.bytes = bytes;
  std::string wrong = visit(piece);
  bytes.clear();
  return wrong;
}

// A piece's records must follow each other in address and line, and all but the last must be
// equally long, so that a byte's offset says its line.
bool RecordPieces::continuesPiece(std::uint64_t address, std::size_t size,
                                  std::uint64_t line) const {
  return !bytes.empty() && address == piece.address + bytes.size() && line == lastLine + 1 &&
         lastBytes == piece.recordBytes && size <= lastBytes;
}
