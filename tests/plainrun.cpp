// The yardstick: a run as plainly as can be. It searches for each wid afresh, in text, and spells
// out what the payload, the CRC, the warnings, and the bits read and written must be. The public
// operations load the files and edit the stream on the way, and are held against the text.
#include <algorithm>
#include <map>

#include "console/lines.h"
#include "fixture.h"
#include "run/ramgraft.h"
#include "steps/ramgraftutil.h"

namespace {

using Lines = std::vector<std::string>;
using std::to_string;

// The data bits that each EBR receives.
Lines dealOut(const Lines& words, std::size_t groupBits, std::size_t numEbrs) {
  std::string row;
  for (const std::string& word : words) {
    for (const char digit : std::string(word.size() % 2, '0') + word) {
      row += digits(std::stoul(std::string(1, digit), nullptr, 16), 4);
    }
  }
  Lines columns(numEbrs);
  for (std::size_t i = 0; i < row.size(); ++i) {
    columns[numEbrs - 1 - i / groupBits % numEbrs] += row[i];
  }
  return columns;
}

// Payload words: a 0 bit, then eight data bits, the last one first.
std::string spellPayload(const std::string& column, std::size_t numWords) {
  std::string payload;
  for (std::size_t i = 0; i < numWords * 9; ++i) {
    const std::size_t bit = i / 9 * 8 + (8 - i % 9);
    payload += i % 9 > 0 && bit < column.size() ? column[bit] : '0';
  }
  return payload;
}

struct PlainRun {
  bool load() {
    int addrWidth = 0, dataWidth = 0, address = 0, data = 0, length = 0;
    if (!loadInputFiles("ram.wid", "words.mem", "in.bit", wids, lines, width, bitstream, addrWidth,
                        dataWidth)) {
      return false;
    }
    Lines words, widLines;
    readFileLines("words.mem", words, {'#', '/'});
    readFileLines("ram.wid", widLines, {});
    require(parseAddrDataWidth(widLines.back(), address, data));
    widLines.pop_back();
    require(checkWidLengths(widLines) && normalizeWids(widLines, length) && widLines == wids);
    require(address == addrWidth && data == dataWidth && length == width);
    columns = dealOut(words, static_cast<unsigned>(dataWidth) / wids.size(), wids.size());
    before = stream = digitsOf(bitstream);
    return true;
  }

  bool run() {
    printLine("STATUS: loading input files");
    if (!load()) return false;
    printLine("STATUS: input files loaded successfully\nSTATUS: processing bitstream");
    for (std::size_t ebr = 0; ebr < wids.size(); ++ebr) {
      if (replace(ebr)) continue;
      explain(wids[ebr]);
      return false;
    }
    require(digitsOf(bitstream) == stream);
    warnOfLost();
    warnOfLostCrcs();
    printLine("STATUS: Successfully wrote out.bit");
    return true;
  }

  // Sets `at` to the end of the wid's identifier.
  bool find(const std::string& wid, std::size_t& at) const {
    const Outcome outcome = findAfresh(stream, wid, static_cast<unsigned>(width), at);
    if (outcome == Outcome::NO_SECTION) {
      printLine("ERROR : didn't find EBR address section for wid ", wid);
    } else if (outcome == Outcome::RAN_OFF_END) {
      printLine("ERROR: ran off end of bit file looking for wid ", wid);
    }
    return outcome == Outcome::FOUND;
  }

  bool replace(std::size_t ebr) {
    const std::string counter = " (" + to_string(ebr + 1) + "/" + to_string(wids.size()) + ")";
    std::size_t start = 0;
    if (!find(wids[ebr], start)) return false;
    printLine("STATUS: Replacing contents of EBR ID# ", wids[ebr], counter);
    BitstreamTraverser traverser(&bitstream);
    traverser.setBitIndex(start);
    std::list<bool> list;
    int frames = 0;
    if (!findEbrDataSection(traverser, frames, list)) return false;

    const std::size_t payload = traverser.getBitIndex();
    const std::size_t most = std::size_t{8} * static_cast<unsigned>(frames),
                      end = payload + most * 9;
    const std::size_t capacity = std::min(most, lines[ebr].size() / 5 * 2);
    if (end + 16 <= stream.size()) {
      warn(ebr, end, 96 + 72 * frames, capacity);
      grafted[{payload, end}] = 96 + 72 * frames;
      stream.replace(payload, capacity * 9, spellPayload(columns[ebr], capacity));
      stream.replace(end, 16, spellCrc(stream, end, 96 + 72 * frames));
    }
    // Only this EBR's line, and only what the payload takes of it.
    Lines needed(wids.size());
    needed[ebr] = lines[ebr].substr(lines[ebr].size() - capacity / 2 * 5);
    const int numEbrs = static_cast<int>(wids.size());
    if (!replaceEbrData(traverser, needed, startLine, frames, numEbrs, 0, 0, list)) return false;
    require(digitsOf(list) == stream.substr(start, payload + capacity * 9 - start));
    return true;
  }

  void warn(std::size_t ebr, std::size_t end, int numBits, std::size_t capacity) const {
    const std::string found = stream.substr(end, 16), right = spellCrc(stream, end, numBits);
    if (found != right && found != digits(0, 16) && !coversItself(end, numBits)) {
      std::string text = ": the CRC of the old contents is 0x";
      binaryStringToHex(found, text);
      binaryStringToHex(right, text += ", should be 0x");
      printWarning("wid ", wids[ebr], text,
                   ": the bitstream may be damaged, or the wid file may not fit it");
    }
    const std::size_t numWords = (columns[ebr].size() + 7) / 8;
    if (numWords > capacity) {
      printWarning("wid ", wids[ebr], ": the memory file gives ", to_string(numWords),
                   " words of 8 bits, the EBR takes ", to_string(capacity),
                   ": the rest is not written");
    }
  }

  // The bits covered include one of the field itself.
  static bool coversItself(std::size_t end, int numBits) {
    return end % 8 == 7 && end + 1 >= static_cast<unsigned>(numBits);
  }

  void warnOfLostCrcs() const {
    const auto lost = std::count_if(grafted.begin(), grafted.end(), [&](const auto& crc) {
      const auto& [place, numBits] = crc;
      const std::size_t end = place.second;
      return coversItself(end, numBits) || stream.substr(end, 16) != spellCrc(stream, end, numBits);
    });
    if (lost == 0) return;
    printWarning(
        to_string(lost), lost == 1 ? " EBR has" : " EBRs have",
        " a CRC that isn't right now or can't be checked: it covers bits of its own field ",
        "or of another EBR's");
  }

  // A run with a width file of one identifier comes to the first command that carries it.
  void warnOfLost() const {
    const Map old = arrivals(before), now = arrivals(stream);
    std::vector<std::pair<std::size_t, std::string>> lost;
    for (const auto& [wid, at] : old) {
      if (now.count(wid) == 0 || now.at(wid) != at) lost.emplace_back(at, wid);
    }
    std::sort(lost.begin(), lost.end());
    for (const auto& [at, wid] : lost) printWarning(hiding(at, wid, " is now"));
  }

  // A command that a walk comes to and the search doesn't.
  void explain(const std::string& wid) const {
    for (std::size_t at = 0, end = 0; findSection(stream, at); at = end) {
      end = endOfCommand(at);
      if (stream.substr(at, wid.size()) != wid || !isCommand(stream, at)) continue;
      const Map now = arrivals(stream);
      if (now.count(wid) == 0 || now.at(wid) != at) {
        printDiagnostic(hiding(at, wid, " is"), "; ramgraft-load finds it");
      }
      return;
    }
  }

  using Map = std::map<std::string, std::size_t>;

  // Where a search for each identifier comes to a command: the bit after its zeros.
  Map arrivals(const std::string& in) const {
    Map firsts;
    const std::size_t size = static_cast<unsigned>(width);
    for (std::size_t at = 0; findSection(in, at) && in.size() - at > std::max(1UL, size);) {
      firsts.emplace(in.substr(at, size), at);
      at += size;
    }
    std::erase_if(firsts, [&](const auto& first) { return !isCommand(in, first.second); });
    return firsts;
  }

  bool isCommand(const std::string& in, std::size_t at) const {
    const std::size_t data = at + static_cast<unsigned>(width) + 11;
    if (in.size() <= data + 32 || in.compare(data, 16, digits(0xB2D0, 16)) != 0) return false;
    const auto frames = static_cast<unsigned>(binaryStringToInt(in.substr(data + 16, 16)));
    return data + 48 + 72UL * frames <= in.size();
  }

  std::size_t endOfCommand(std::size_t at) const {
    const std::size_t data = at + static_cast<unsigned>(width) + 11;
    if (!isCommand(stream, at)) return std::min(data - 11, stream.size());
    return data + 48 +
           72UL * static_cast<unsigned>(binaryStringToInt(stream.substr(data + 16, 16)));
  }

  std::string hiding(std::size_t at, const std::string& wid, const std::string& is) const {
    return "EBR " + wid + " at bit " + to_string(at - 44) + is +
           " hidden from ramgraft: " + reason(at, wid);
  }

  std::string reason(std::size_t at, const std::string& wid) const {
    const std::string address = digits(0xF6, 8) + digits(0, 36);
    if (stream.compare(at - 44, 44 + wid.size(), address + wid) != 0 || !isCommand(stream, at)) {
      return "it is overwritten" + placeOf(at - 44);
    }
    std::size_t first = at;
    for (std::size_t other = 0; findSection(stream, other) && other < at; other += wid.size()) {
      const std::string bit = to_string(other - 44) + placeOf(other - 44);
      if (other + wid.size() > at - 44) {
        return "what looks like an address at bit " + bit + " reaches into it";
      }
      if (stream.substr(other, wid.size()) == wid) first = std::min(first, other);
    }
    return "what looks like its address comes first, at bit " + to_string(first - 44) +
           placeOf(first - 44);
  }

  // The command of the walk that a bit is inside of.
  std::string placeOf(std::size_t bit) const {
    for (std::size_t at = 0, end = 0; findSection(stream, at) && at - 44 < bit; at = end) {
      end = endOfCommand(at);
      if (end <= bit) continue;
      const std::size_t size = static_cast<unsigned>(width), crc = end - 16;
      const char* const field = !isCommand(stream, at) || bit < at + size + 43 ? "header"
                                : bit < crc                                    ? "contents"
                                                                               : "CRC";
      return std::string(" in the ") + field + " of EBR " + stream.substr(at, size);
    }
    return "";
  }

  Bitstream bitstream{0};
  std::string before, stream;  // all its bits, as digits, of the input and now
  // Payload and CRC field of each EBR that was grafted, and how many bits the CRC covers.
  std::map<std::pair<std::size_t, std::size_t>, int> grafted;
  Lines wids, lines, columns;
  int width = 0, startLine = 0;
};

}  // namespace

bool findSection(const std::string& stream, std::size_t& at) {
  for (;;) {
    at = stream.find("11110110", at);
    if (at == std::string::npos || at + 8 >= stream.size()) return false;
    at += 8;
    const std::string zeros = stream.substr(at, 36);  // fewer at the end of the stream
    if (zeros.find('1') != std::string::npos) continue;
    at += zeros.size();
    return true;
  }
}

Outcome findAfresh(const std::string& stream, const std::string& wid, std::size_t width,
                   std::size_t& at) {
  while (findSection(stream, at)) {
    if (stream.size() - at <= std::max<std::size_t>(1, width)) return Outcome::RAN_OFF_END;
    const std::string identifier = stream.substr(at, width);
    at += width;
    if (identifier == wid) return Outcome::FOUND;
  }
  return Outcome::NO_SECTION;
}

std::string spellCrc(const std::string& stream, std::size_t end, int numBits) {
  const int start = static_cast<int>(end) - numBits + 1;
  if (start < 0 || numBits < 8) return digits(0, 16);
  unsigned crc = 0;
  const auto firstByte = static_cast<std::size_t>(start / 8);
  for (const char bit : stream.substr(firstByte * 8, static_cast<std::size_t>(numBits / 8) * 8)) {
    crc = (crc << 1 ^ (crc >> 15 ^ (bit == '1' ? 1U : 0U)) * 0x8005) & 0xFFFF;
  }
  return digits(crc, 16);
}

RunResult runPlainly() {
  PlainRun plain;
  bool isWritten = false;
  const std::string text = outputOf([&] { isWritten = plain.run(); });
  return {text + (isWritten ? "0" : "1"), isWritten ? packDigits(plain.stream) : ""};
}
