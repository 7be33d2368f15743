#include "deepdesign.h"

#include <algorithm>
#include <bit>
#include <numeric>

namespace {

// The payload of EBR number `ebr` of a part: as many whole frames as it needs.
std::string payloadOf(const Deep& deep, std::size_t part, std::size_t ebr) {
  std::string column;
  const std::size_t begin = part * deep.depth, low = ebr * deep.bitsPerEbr;
  const std::size_t end = std::min(begin + deep.depth, deep.words.size());
  for (std::size_t word = begin; word < end; ++word) {
    const std::string& bits = deep.words[word];
    column += bits.substr(bits.size() - low - deep.bitsPerEbr, deep.bitsPerEbr);
  }
  column.resize((column.size() + 63) / 64 * 64, '0');
  std::string payload;
  for (std::size_t i = 0; i < column.size(); i += 8) {
    payload += '0' + std::string(column.rend() - static_cast<int>(i) - 8,
                                 column.rend() - static_cast<int>(i));
  }
  return payload;
}

}  // namespace

Deep makeDeep(std::mt19937_64& random, std::size_t number, bool isSmall) {
  Deep deep;
  deep.name = std::string(1, static_cast<char>('a' + number));
  const auto below = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };
  deep.numEbrs = 1 + below(isSmall ? 3 : below(4) == 0 ? 64 : 8);
  deep.bitsPerEbr = 1 + below(isSmall ? 4 : 16);
  deep.depth = std::size_t{64} << below(2);
  // At least 64 words in the last part: its columns are then long enough to distinguish EBRs.
  const std::size_t numParts = 1 + below(isSmall ? 2 : below(4) == 0 ? 16 : 3);
  const std::size_t last = 64 + below(deep.depth - 63);
  deep.words.resize((numParts - 1) * deep.depth + last);
  for (std::string& word : deep.words) {
    for (std::size_t i = 0; i < deep.wordBits(); ++i) word += "01"[random() % 2];
  }
  if (numParts == 1) deep.depth = std::bit_ceil(deep.words.size());
  return deep;
}

std::map<std::string, std::string> placeAll(std::mt19937_64& random,
                                            const std::vector<Deep>& memories,
                                            std::string& stream) {
  std::vector<std::string> commands;
  std::map<std::string, std::string> wids;
  std::vector<std::uint64_t> identifiers(4000);
  std::iota(identifiers.begin(), identifiers.end(), 1);
  std::ranges::shuffle(identifiers, random);
  for (const Deep& deep : memories) {
    for (std::size_t part = 0; part < deep.numParts(); ++part) {
      std::string wid;
      for (std::size_t ebr = 0; ebr < deep.numEbrs; ++ebr) {
        const std::string identifier = digits(identifiers[commands.size()], 12);
        std::string payload = payloadOf(deep, part, ebr);
        if (random() % 2 == 0) payload += std::string(72, '0');  // more room than it needs
        const auto frames = static_cast<unsigned>(payload.size() / 72);
        commands.push_back(ebrDigits(identifier, frames, payload));
        wid += "0b" + identifier + "\n";
      }
      const std::size_t words = std::min(deep.depth, deep.words.size() - part * deep.depth);
      const std::string number = deep.numParts() == 1 ? "" : "-" + std::to_string(part);
      wids[deep.name + number + ".wid"] = wid + "aw" + std::to_string(std::bit_width(words - 1)) +
                                          ";dw" + std::to_string(deep.wordBits()) + "\n";
    }
  }
  std::ranges::shuffle(commands, random);
  stream = digits(0xFF, 8);
  for (const std::string& command : commands) stream += command + std::string(random() % 9, '1');
  return wids;
}

std::string spellMem(const Deep& deep) {
  std::string text;
  for (std::string word : deep.words) {
    word.insert(0, (4 - word.size() % 4) % 4, '0');
    for (std::size_t i = 0; i < word.size(); i += 4) {
      text += "0123456789ABCDEF"[std::stoul(word.substr(i, 4), nullptr, 2)];
    }
    text += '\n';
  }
  return text;
}
