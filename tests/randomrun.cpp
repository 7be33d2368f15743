#include <algorithm>

#include "fixture.h"

namespace {

using Texts = std::vector<std::string>;
using Numbers = std::vector<unsigned>;

class RandomRun {
 public:
  explicit RandomRun(std::mt19937_64& source) : random(source) { chooseShape(); }

  RunFiles make() {
    RunFiles files;
    files.bit =
        packDigits(digits(random(), below(9)) + (isListed ? listEbrs() : scatterSections()));
    for (const std::string& wid : wids) files.wid += "0b" + wid + "\n";
    files.wid += "aw" + std::to_string(below(6)) + ";dw" + std::to_string(numEbrs * groupBits);
    for (unsigned words = isLong ? 1 : below(30); words > 0; --words) {
      files.mem += makeWord(files.mem.empty()) + pick(Texts{"\n", "\n", "\r\n", "\n\r\n#\n/\n"});
    }
    return files;
  }

 private:
  unsigned below(std::size_t n) { return static_cast<unsigned>(random() % n); }
  template <typename T>
  T pick(const std::vector<T>& from) {
    return from[below(from.size())];
  }

  void chooseShape() {
    isLong = below(25) == 0;
    isListed = isLong || below(6) == 0;
    isWide = isListed && !isLong && below(20) == 0;
    numEbrs = isLong ? 1 : isWide ? 60 + below(80) : 1 + below(isListed ? 20 : 5);
    // Groups of 57 to 64 bits take two loads where they begin at an odd bit.
    const Numbers usual = {1, 2, 4, 8, 8, 8, 16, 3, 5, 57 + below(8), 57 + below(8)};
    groupBits = isLong || isWide ? 8 : pick(usual);
  }

  // EBRs that are all there, in the order of the width file.
  std::string listEbrs() {
    std::string stream;
    for (unsigned ebr = 0; ebr < numEbrs; ++ebr) {
      const unsigned frames = isLong ? pick(Numbers{0, 1, 819, 820, 1100}) : below(5);
      wids.push_back(digits(ebr, 9));
      stream += ebrDigits(wids.back(), frames, "10", below(3));
    }
    return stream;
  }

  // Wids and identifiers from one small pool, so that some are found, missed and found again.
  std::string scatterSections() {
    const unsigned width = 1 + below(16);
    // Identifiers that payload words can spell begin with the words' leading 0; opcode beginnings
    // make sections overlap.
    Texts pool = {digits(random(), width), digits(0, width), digits(below(256), 9) + digits(0, 7),
                  digits(0xF600U >> below(8), 16)};
    for (std::string& identifier : pool) identifier.resize(width);
    for (unsigned ebr = 0; ebr < numEbrs; ++ebr) wids.push_back(pick(pool));
    std::string stream;
    for (unsigned pieces = 1 + below(12); pieces > 0; --pieces) {
      stream += makePiece(pool).substr(0, below(25) == 0 ? 40 + below(90) : std::string::npos);
    }
    return stream;
  }

  std::string makePiece(const Texts& pool) {
    const std::string address = digits(0xF6, 8) + digits(0, 36 - below(12) / 11);
    return pick(
        Texts{ebrDigits(pick(pool), below(4), digits(random(), 64), 0x1234 * below(2)),
              ebrDigits(pick(pool), 1 + below(2), "0") + digits(0, 28 + below(12)) + pick(pool),
              ebrDigits(pick(pool), 2, digits(0xF6, 9) + digits(0, 36) + digits(random(), 18)),
              address + pick(pool), address + address.substr(0, below(44)), digits(random(), 20),
              digits(0, below(60))});
  }

  std::string makeWord(bool isFirst) {
    const unsigned usualBytes = isLong ? pick(Numbers{0, 1, 3, 6553, 6557, 8001})
                                : numEbrs * groupBits % 8 == 0 ? numEbrs * groupBits / 8
                                                               : groupBits;
    const std::size_t wordBytes = below(20) == 0 && !isListed ? below(7) : usualBytes;
    std::string word = pick(Texts{"", "", "", "B"});
    // 6F is the byte F6 before its bits are reversed. Words of equal bytes make columns of them.
    const std::string byte = isFirst ? "6F" : pick(Texts{"6F", "00", "00", "00", ""});
    while (word.size() + 1 < wordBytes * 2) {
      const bool isMixed = isListed || byte.empty();
      word += isMixed ? pick(Texts{"6F", "00", "a5", std::to_string(10 + below(90))}) : byte;
    }
    return word;
  }

  std::mt19937_64& random;
  bool isLong = false, isListed = false, isWide = false;
  unsigned numEbrs = 1, groupBits = 8;
  Texts wids;
};

}  // namespace

RunFiles randomRun(std::mt19937_64& random) { return RandomRun(random).make(); }

RunFiles spellingRun(std::mt19937_64& random) {
  const auto below = [&](std::size_t n) { return static_cast<unsigned>(random() % n); };
  const std::string address = digits(0xF6, 8) + digits(0, 36);
  const unsigned width = 3 + below(9) + below(3) * 12, number = 2 + below(4);
  Texts wids;
  for (unsigned i = 0; i < number; ++i) wids.push_back(digits(i + below(2) * 0x7B0, width));
  // What lies between commands, and what they contain.
  const auto piece = [&] {
    const Texts pieces = {"",
                          "",
                          address,
                          address + digits(random(), below(12)) + address,
                          ebrDigits(wids[below(number)], 0, "0"),
                          digits(0, below(50))};
    return pieces[below(pieces.size())];
  };
  std::string stream = digits(random(), below(9));
  for (const std::string& wid : wids) {
    stream += ebrDigits(wid, 1 + below(3), piece() + digits(random(), 40)) + piece();
  }
  RunFiles files = {packDigits(stream), "", ""};
  std::shuffle(wids.begin(), wids.end(), random);
  wids.resize(1 + below(number));
  for (const std::string& wid : wids) files.wid += wid + "\n";
  files.wid += "aw10;dw" + std::to_string(wids.size() * 8);
  // 6F, its bits reversed, is the opcode. What comes before it is all 0, so that only that differs.
  for (std::size_t bytes = below(8) + below(16) * wids.size(); bytes > 0; --bytes) {
    const char* const usual[] = {"00", "00", "00", "00", "00", "6F", "F0", "03", "01", "80"};
    files.mem += usual[below(std::size(usual))] + std::string(bytes % wids.size() == 1 ? "\n" : "");
  }
  return files;
}

bool splitRun(const std::uint8_t* data, std::size_t size, RunFiles& files) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  const std::size_t first = input.find('\0'), second = input.find('\0', first + 1);
  if (second == std::string::npos || first >= second) return false;
  files = {input.substr(second + 1), input.substr(0, first),
           input.substr(first + 1, second - first - 1)};
  return true;
}

std::string joinRun(const RunFiles& files) {
  return files.wid + '\0' + files.mem + '\0' + files.bit;
}
