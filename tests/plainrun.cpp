#include "plainrun.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace {

using Bits = std::vector<bool>;

struct Failed {};  // thrown once the reason stands in the result

struct Line {
  std::string text;
  std::size_t number;
};

std::vector<Line> readLines(const std::string& text, const std::string& comments) {
  std::vector<Line> lines;
  std::istringstream in(text);
  std::string line;
  for (std::size_t number = 1; std::getline(in, line); ++number) {
    if (line.empty() || comments.find(line[0]) != std::string::npos) continue;
    if (line.find('\r') != std::string::npos) line.pop_back();
    lines.push_back({line, number});
  }
  return lines;
}

class PlainRun {
 public:
  explicit PlainRun(const RunFiles& runFiles) : files(runFiles), bits(toBits(runFiles.bit)) {}

  RunResult run(BitRanges& written) {
    try {
      say("STATUS: loading input files");
      load();
      say("STATUS: input files loaded successfully\nSTATUS: processing bitstream");
      for (std::size_t i = 0; i < wids.size(); ++i) replace(i, written);
      say("STATUS: Successfully wrote out.bit");
      result.bytes = toBytes(bits);
      result.status = 0;
    } catch (const Failed&) {
    }
    return result;
  }

 private:
  template <typename... Pieces>
  static std::string lineOf(const Pieces&... pieces) {
    std::ostringstream line;
    ((line << pieces), ...);
    return line.str() + "\n";
  }
  template <typename... Pieces>
  void say(const Pieces&... pieces) {
    result.out += lineOf(pieces...);
  }
  template <typename... Pieces>
  [[noreturn]] void fail(const Pieces&... pieces) {
    say(pieces...);
    throw Failed();
  }
  template <typename... Pieces>
  void note(const Pieces&... pieces) {
    result.err += lineOf(pieces...);
  }

  void load() {
    std::vector<Line> lines = readLines(files.wid, "");
    if (lines.empty()) fail("ERROR: empty wid file!");
    const Line widthLine = lines.back();
    lines.pop_back();
    if (lines.empty()) note("ram.wid: no wid stands before the last line");
    const auto differs = [&](const Line& line) { return line.text.size() != lines[0].text.size(); };
    const auto other = std::find_if(lines.begin(), lines.end(), differs);
    if (other != lines.end()) {
      note("ram.wid, line ", other->number, ": this wid's length differs from that of the first, ",
           lines[0].text.size());
    }
    if (lines.empty() || other != lines.end()) fail("ERROR: wid lengths must all be the same!");
    for (const Line& line : lines) wids.push_back(line.text);
    parseWidths(widthLine);
    for (std::string& wid : wids) wid = wid.substr(wid.find("0b") == std::string::npos ? 0 : 2);
    const long n = static_cast<long>(wids.size());
    if (dataWidth / n < 1) {
      fail("ERROR: ram.wid, line ", widthLine.number, ": a data width of ", dataWidth,
           " bits can't be shared out among ", n, " EBRs");
    }
    dealWords(static_cast<std::size_t>(dataWidth / n));
  }

  void parseWidths(const Line& widthLine) {
    const std::string& line = widthLine.text;
    const std::size_t aw = line.find("aw"), dw = line.find("dw"), end = line.find(';');
    const std::string text = lineOf("ram.wid, line ", widthLine.number, ": ", line);
    if (std::max({aw, dw, end}) == std::string::npos) {
      result.err = text;
      fail("ERROR: bad .wid file, no addr/data width");
    }
    if (aw + 2 >= line.size() || aw > dw) {
      result.err = text;
      fail("ERROR: bad .wid file, malformed addr/data width");
    }
    const std::size_t length = end < aw + 2 ? std::string::npos : end - aw - 2;
    addrWidth = static_cast<int>(std::strtol(line.substr(aw + 2, length).c_str(), nullptr, 10));
    dataWidth = static_cast<int>(std::strtol(line.substr(dw + 2).c_str(), nullptr, 10));
  }

  void dealWords(std::size_t groupBits) {
    columns.resize(wids.size());
    dataBits.resize(wids.size());
    std::size_t cursor = wids.size() - 1, words = 0, misfits = 0, firstBits = 0, fullLine = 0;
    std::string firstPlace;
    for (Line& line : readLines(files.mem, "#/")) {
      if (line.text.empty()) continue;
      const std::string place = "words.mem, line " + std::to_string(line.number) + ": ";
      const std::size_t bad = line.text.find_first_not_of("0123456789ABCDEFabcdef");
      if (bad != std::string::npos) {
        say("ERROR: character ", line.text[bad], " is not hexadecimal!");
        fail("ERROR: ", place, "not a hexadecimal word: ", line.text);
      }
      if (line.text.size() % 2 == 1) line.text.insert(0, "0");
      std::string row;
      for (const char digit : line.text) {
        const long value = std::strtol(std::string(1, digit).c_str(), nullptr, 16);
        for (int bit = 3; bit >= 0; --bit) row += (value >> bit & 1) != 0 ? '1' : '0';
      }
      ++words;
      if (row.size() % groupBits != 0) {
        fail("ERROR: ", place, "a memory word of ", row.size(),
             " bits can't be split into groups of ", groupBits, " bits");
      }
      if (row.size() != groupBits * wids.size() && misfits++ == 0) {
        firstPlace = place;
        firstBits = row.size();
      }
      for (std::size_t i = 0; i < row.size(); ++i) {
        std::string& column = columns[cursor];
        if (column.size() % 20 == 8) column += '0';
        if (column.size() % 20 == 17) column += "000";
        column += row[i];
        ++dataBits[cursor];
        if (column.size() > 65536 && fullLine == 0) fullLine = line.number;
        if (i % groupBits == groupBits - 1) cursor = cursor == 0 ? wids.size() - 1 : cursor - 1;
      }
    }
    for (std::size_t c = wids.size(); c-- > 0;) {
      const std::size_t length = columns[c].size();
      if (length > 65536 && length % 8 != 0) {
        fail("ERROR: words.mem, line ", fullLine, ": from here on an EBR gets more than the 65536",
             " bits of its physical line, in all ", length, ", which is no multiple of 8");
      }
      columns[c].resize(std::max<std::size_t>(length, 65536), '0');
    }
    if (words == 0) {
      note("WARNING: words.mem: holds no memory words: the listed EBRs are filled with zeros");
    }
    if (misfits > 0) {
      note("WARNING: ", firstPlace, misfits, " of ", words, " memory word",
           misfits == 1 ? "s has" : "s have",
           " another number of bits than the EBRs share out (the first ", firstBits, ", the EBRs ",
           groupBits * wids.size(), "), which can spread words over the wrong EBRs");
    }
    const double addressed =
        addrWidth < 0 ? 0 : static_cast<double>(1UL << std::min(addrWidth, 63));
    if (static_cast<double>(words) > addressed) {
      note("WARNING: words.mem: ", words, " memory words, but an address of ", addrWidth,
           " bits reaches only ", static_cast<unsigned long>(addressed));
    }
  }

  bool standsAt(const std::string& digits, std::size_t at) const {
    if (at > bits.size() || digits.size() > bits.size() - at) return false;
    for (std::size_t i = 0; i < digits.size(); ++i) {
      if (bits[at + i] != (digits[i] == '1')) return false;
    }
    return true;
  }

  // The first identifier position of a section whose opcode is at or after `from`, or the number
  // of bits plus one.
  std::size_t nextIdentifier(std::size_t from) const {
    for (std::size_t at = from; at + 8 < bits.size(); ++at) {
      if (!standsAt("11110110", at)) continue;
      const std::size_t zeros = std::min<std::size_t>(36, bits.size() - at - 8);
      if (standsAt(std::string(zeros, '0'), at + 8)) return at + 8 + zeros;
    }
    return bits.size() + 1;
  }

  std::size_t findEbr(const std::string& wid) {
    const std::size_t width = wids[0].size();
    for (std::size_t at = restart < 100 ? 0 : restart - 100;;) {
      at = nextIdentifier(at);
      if (at > bits.size()) fail("ERROR : didn't find EBR address section for wid ", wid);
      if (restart == 0) restart = at;
      if (at + 1 >= bits.size() || bits.size() - at < width + 1) {
        fail("ERROR: ran off end of bit file looking for wid ", wid);
      }
      if (wid.size() == width && wid.find_first_not_of("01") == std::string::npos &&
          standsAt(wid, at)) {
        return at + width;
      }
      at += width;
    }
  }

  std::size_t valueAt(std::size_t at, std::size_t count) const {
    std::size_t value = 0;
    for (std::size_t i = 0; i < count; ++i) value = value * 2 + (bits[at + i] ? 1 : 0);
    return value;
  }

  std::size_t crcBefore(std::size_t field, std::size_t count) const {
    const long start = static_cast<long>(field) - static_cast<long>(count) + 1;
    std::size_t crc = 0;
    for (std::size_t i = 0; start >= 0 && i < count / 8; ++i) {
      crc ^= valueAt((static_cast<std::size_t>(start) + 8 * i) / 8 * 8, 8) << 8;
      for (int bit = 0; bit < 8; ++bit) crc = (crc << 1 ^ (crc & 0x8000 ? 0x8005 : 0)) & 0xFFFF;
    }
    return crc;
  }

  void replace(std::size_t i, BitRanges& written) {
    const std::string& wid = wids[i];
    std::size_t at = findEbr(wid);
    say("STATUS: Replacing contents of EBR ID# ", wid, " (", i + 1, "/", wids.size(), ")");
    if (bits.size() - at <= 11) {
      fail("ERROR: bitstream ends inside the 11 bits behind the EBR identifier, at bit ", at);
    }
    if (!standsAt("10110010", at + 11)) fail("ERROR: didn't find TAV_EBR_WRITE");
    if (!standsAt("11010000", at + 19)) {
      fail("ERROR: didn't find CRC/dummy bits after TAV_EBR_WRITE");
    }
    at += 27;
    if (bits.size() - at <= 16) {
      fail("ERROR: bitstream ends inside the frame count of TAV_EBR_WRITE, at bit ", at);
    }
    const std::size_t frames = valueAt(at, 16), size = frames * 72;
    at += 16;
    if (bits.size() - at < size + 16) {
      fail("ERROR: bitstream ends inside the EBR data: frame count ", frames,
           ", bits needed for payload and CRC ", size + 16, ", bits left ", bits.size() - at,
           " at bit ", at);
    }
    const std::size_t field = at + size;
    const std::size_t old = valueAt(field, 16), right = crcBefore(field, size + 96);
    if (old != 0 && old != right) {
      char values[40];
      std::snprintf(values, sizeof values, "0x%04zX, should be 0x%04zX", old, right);
      note("WARNING: wid ", wid, ": the CRC of the old contents is ", values,
           ": the bitstream may be damaged, or the wid file may not fit it");
    }
    const std::string& column = columns[i];
    const std::size_t capacity = std::min(frames * 8, column.size() / 20 * 2);
    if ((dataBits[i] + 7) / 8 > capacity) {
      note("WARNING: wid ", wid, ": the memory file gives ", (dataBits[i] + 7) / 8,
           " words of 8 bits, the EBR's payload takes ", capacity, ": the rest is not written");
    }
    for (std::size_t word = 0; word < capacity; ++word) {
      const std::size_t first = word / 2 * 20 + word % 2 * 9;
      for (std::size_t k = 0; k < 9; ++k) bits[at + word * 9 + k] = column[first + 8 - k] == '1';
    }
    const std::size_t crc = crcBefore(field, size + 96);
    for (std::size_t k = 0; k < 16; ++k) bits[field + k] = (crc >> (15 - k) & 1) != 0;
    written.emplace_back(at, field + 16);
  }

  const RunFiles& files;
  Bits bits;
  RunResult result;
  std::vector<std::string> wids, columns;
  std::vector<std::size_t> dataBits;
  int addrWidth = 0, dataWidth = 0;
  std::size_t restart = 0;
};

}  // namespace

std::vector<bool> toBits(const std::string& bytes) {
  Bits bits;
  for (const char byte : bytes) {
    for (int bit = 7; bit >= 0; --bit) bits.push_back((byte >> bit & 1) != 0);
  }
  return bits;
}

std::string toBytes(const std::vector<bool>& bits) {
  std::string bytes(bits.size() / 8, '\0');
  for (std::size_t i = 0; i < bytes.size() * 8; ++i) {
    if (bits[i]) bytes[i / 8] = static_cast<char>(bytes[i / 8] | 0x80 >> i % 8);
  }
  return bytes;
}

RunResult runPlainly(const RunFiles& files, BitRanges& written) {
  return PlainRun(files).run(written);
}
