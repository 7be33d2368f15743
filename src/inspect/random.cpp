// `random`: words for a build whose memories are to be located.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <random>
#include <unordered_map>

#include "base/digits.h"
#include "companion/options.h"
#include "companion/output.h"
#include "files/read.h"
#include "inspect/subcommands.h"

namespace {

// Different random numbers of a given width, as long as there are any.
class Numbers {
 public:
  Numbers(std::mt19937_64& source, unsigned bits, std::uint64_t wanted)
      : random(source), count(UINT64_C(1) << bits), areDifferent(wanted <= count) {}

  std::uint64_t next() {
    if (!areDifferent) return random() % count;
    // A shuffle of all numbers that keeps only those that have moved.
    const std::uint64_t place = taken + random() % (count - taken);
    const std::uint64_t number = at(place);
    moved[place] = at(taken++);
    return number;
  }

 private:
  std::uint64_t at(std::uint64_t place) const {
    const auto found = moved.find(place);
    return found == moved.end() ? place : found->second;
  }

  std::mt19937_64& random;
  std::uint64_t count, taken = 0;
  bool areDifferent;
  std::unordered_map<std::uint64_t, std::uint64_t> moved;
};

// Bits of a number that are dealt with at a time. No memory has as many words as numbers of that
// width, and they are whole digits.
constexpr std::uint64_t PIECE_BITS = 60;

struct Random {
  std::uint64_t words = 0, dataWidth = 0;
  std::uint64_t seed = 0;  // 0: another one each time
  std::optional<std::string> outputFile;

  void addTo(CLI::App& app) {
    constexpr std::uint64_t MOST_WORDS = 1 << 24, MOST_BITS = 1 << 16;
    addNumber(app, "--words", "How many words", MOST_WORDS, words);
    addNumber(app, "--data-width", "Bits of a word", MOST_BITS, dataWidth);
    for (const char* const name : {"--words", "--data-width"}) app.get_option(name)->required();
    addNumber(app, "--seed", "The same words each time; otherwise others", UINT64_MAX, seed);
    addOutput(app, "FILE.mem", outputFile);
  }

  // The low bits of each word tell it from the others.
  std::string spell(std::mt19937_64& random) const {
    Numbers lows(random, static_cast<unsigned>(std::min(dataWidth, PIECE_BITS)), words);
    std::string text, word;
    for (std::uint64_t i = 0; i < words; ++i, text += '\n') {
      word.clear();
      for (std::uint64_t bit = 0; bit < dataWidth; bit += PIECE_BITS) {
        const std::uint64_t bits = std::min(dataWidth - bit, PIECE_BITS);
        std::uint64_t piece = bit == 0 ? lows.next() : random() >> (64 - bits);
        for (std::uint64_t at = 0; at < bits; at += 4, piece >>= 4) word += HEX_DIGITS[piece & 0xF];
      }
      text.append(word.rbegin(), word.rend());
    }
    return text;
  }

  ExitStatus run() const {
    const Messages messages(false);
    if (words * (dataWidth / 4 + 2) > MOST_INPUT_BYTES) {
      return messages.refuse("--words, --data-width: more than 1 GiB of text");
    }
    std::random_device device;
    std::mt19937_64 random(seed != 0 ? seed
                                     : static_cast<std::uint64_t>(device()) << 32 | device());
    return putResult(outputFile, spell(random), {}, messages);
  }
};

}  // namespace

const Program RANDOM = {"random", "Make contents that are different everywhere, for locate",
                        prepare<Random>};
