#include "inputs/wordtext.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "base/digits.h"

namespace {

constexpr std::string_view WHITE_SPACE = " \t\n\r\f\v";
constexpr std::string_view ENDS_NUMBER = " \t\n\r\f\v/#@";

// The bits of a number from its first digit that isn't 0 on; other characters don't count.
std::uint64_t significantBits(std::string_view number) {
  std::uint64_t bits = 0;
  for (const char character : number) {
    const int value = hexDigitValue(character);
    if (value < 0) continue;
    bits += bits != 0 ? 4 : static_cast<std::uint64_t>(std::bit_width(unsigned(value)));
  }
  return bits;
}

class WordTextParser {
 public:
  WordTextParser(std::string_view wholeText, std::uint64_t bitsOfWord, std::endian byteOrder,
                 const WordVisitor& toVisit)
      : text(wholeText), isFromDigits(bitsOfWord == 0), order(byteOrder), visit(toVisit) {
    setWordBits(bitsOfWord);
  }

  WordTextFault parse() {
    WordTextFault fault;
    while (fault.text.empty() && at < text.size()) fault = parseNext();
    return fault.text.empty() ? finishRun() : fault;
  }

 private:
  void setWordBits(std::uint64_t bits) {
    run.wordBits = bits;
    wordBytes = (bits + 7) / 8;
  }

  WordTextFault parseNext() {
    if (WHITE_SPACE.find(text[at]) != WHITE_SPACE.npos) {
      if (text[at++] == '\n') {
        ++line;
        lineBegin = at;
      }
      return {};
    }
    if (text[at] == '#' || text.substr(at).starts_with("//")) {
      at = std::min(text.find('\n', at), text.size());
      return {};
    }
    if (text.substr(at).starts_with("/*")) return skipComment();
    return text[at] == '@' ? parseAddress() : parseWord();
  }

  WordTextFault refuse(std::size_t place, const std::string& what) const {
    return {what, line, place - lineBegin + 1};
  }

  WordTextFault skipComment() {
    const std::size_t end = text.find("*/", at + 2);
    if (end == text.npos) return refuse(at, "a comment without end");
    for (; at < end + 2; ++at) {
      if (text[at] != '\n') continue;
      ++line;
      lineBegin = at + 1;
    }
    return {};
  }

  // Takes a number from the text. Reports a character that doesn't belong there.
  WordTextFault takeNumber(std::string_view& number) {
    const std::size_t length = std::min(text.find_first_of(ENDS_NUMBER, at), text.size()) - at;
    number = text.substr(at, length);
    const auto isBad = [&](const char& character) {
      return hexDigitValue(character) < 0 && (character != '_' || &character == number.data());
    };
    const auto bad = std::ranges::find_if(number, isBad);
    if (number.empty() || bad != number.end()) {
      return refuseCharacter(at + static_cast<std::size_t>(bad - number.begin()));
    }
    at += length;
    return {};
  }

  WordTextFault refuseCharacter(std::size_t place) const {
    if (place == text.size()) return refuse(place, "the text ends where a number must come");
    const char character = text[place];
    if (std::string_view("xXzZ?").find(character) != std::string_view::npos) {
      return refuse(place, std::string("the digit ") + character + " has no value");
    }
    const auto byte = static_cast<unsigned char>(character);
    const std::string shown =
        byte > ' ' && byte <= '~'
            ? std::string{character}
            : std::string{'0', 'x', HEX_DIGITS[byte >> 4], HEX_DIGITS[byte & 0xF]};
    return refuse(place, "not a hexadecimal digit: " + shown);
  }

  WordTextFault parseAddress() {
    const std::size_t begin = at++;
    std::string_view number;
    if (WordTextFault fault = takeNumber(number); !fault.text.empty()) return fault;
    if (significantBits(number) > 64) return refuse(begin, "a word address of more than 64 bits");
    std::uint64_t address = 0;
    for (const char digit : number) {
      if (digit != '_') address = address << 4 | static_cast<unsigned>(hexDigitValue(digit));
    }
    next = address;
    return {};
  }

  WordTextFault parseWord() {
    const std::size_t begin = at;
    std::string_view number;
    if (WordTextFault fault = takeNumber(number); !fault.text.empty()) return fault;
    if (WordTextFault fault = checkBits(begin, number); !fault.text.empty()) return fault;
    if (!next) return refuse(begin, "no word address is left");
    if (!bytes.empty() && !continuesRun()) {
      if (WordTextFault fault = finishRun(); !fault.text.empty()) return fault;
    }
    append(number);
    next = *next == UINT64_MAX ? std::nullopt : std::optional(*next + 1);
    return {};
  }

  WordTextFault checkBits(std::size_t begin, std::string_view number) {
    if (isFromDigits) {
      const auto bits =
          4 * (number.size() - static_cast<std::uint64_t>(std::ranges::count(number, '_')));
      if (lastLine == 0) setWordBits(bits);
      if (bits == run.wordBits) return {};
      return refuse(begin, "digits of this word: " + std::to_string(bits / 4) +
                               ", of the first: " + std::to_string(run.wordBits / 4));
    }
    const std::uint64_t bits = significantBits(number);
    if (bits <= run.wordBits) return {};
    return refuse(begin, "a word of " + std::to_string(bits) + " bits, the memory's have " +
                             std::to_string(run.wordBits));
  }

  WordTextFault finishRun() {
    if (bytes.empty()) return {};
    run.bytes = bytes;
    WordTextFault fault = {visit(run), 0, 0};
    bytes.clear();
    return fault;
  }

  void append(std::string_view number) {
    if (bytes.empty()) {
      run.firstWord = *next;
      run.line = line;
      run.words = lineWords = 0;
    }
    lineWords = lastLine == line ? lineWords + 1 : 1;
    lastLine = line;
    ++run.words;
    if (line == run.line) run.lineWords = lineWords;
    const std::size_t begin = bytes.size();
    bytes.resize(begin + wordBytes);
    std::size_t nibble = 0;
    for (std::size_t i = number.size(); i-- > 0 && nibble < 2 * wordBytes;) {
      if (number[i] == '_') continue;
      const std::size_t byte =
          order == std::endian::little ? nibble / 2 : wordBytes - 1 - nibble / 2;
      unsigned char& target = bytes[begin + byte];
      target = static_cast<unsigned char>(target | hexDigitValue(number[i]) << nibble % 2 * 4);
      ++nibble;
    }
  }

  // True if the next word's index and line are those that the run leads to, and there is room.
  bool continuesRun() const {
    constexpr std::size_t MOST_RUN_BYTES = std::size_t{1} << 20;
    if (bytes.size() >= MOST_RUN_BYTES || *next != run.firstWord + run.words) return false;
    if (line == lastLine) return line == run.line || lineWords < run.lineWords;
    return line == lastLine + 1 && lineWords == run.lineWords;
  }

  std::string_view text;
  bool isFromDigits;
  std::uint64_t wordBytes = 0;
  std::endian order;
  const WordVisitor& visit;
  WordRun run;                       ///< that isn't handed on yet
  std::vector<unsigned char> bytes;  ///< of that run; empty if there is none
  std::size_t at = 0;                ///< of the next character
  std::uint64_t line = 1;
  std::size_t lineBegin = 0;
  std::optional<std::uint64_t> next = 0;  ///< index of the next word; none after the last possible
  std::uint64_t lastLine = 0;             ///< of the last word
  std::uint64_t lineWords = 0;            ///< words of the run in that line
};

}  // namespace

WordTextFault readWordText(std::string_view text, std::uint64_t wordBits, std::endian order,
                           const WordVisitor& visit) {
  return WordTextParser(text, wordBits, order, visit).parse();
}
