#include "survey/comparison.h"

#include <algorithm>
#include <bit>
#include <map>
#include <string_view>

#include "ebr/columns.h"
#include "ebr/graft.h"

namespace {

// Fills in how the contents differ from the column of `columnBits` bits and the zeros after it.
void compareContents(std::span<const unsigned char> contents, std::span<const unsigned char> column,
                     std::uint64_t columnBits, EbrFinding& finding) {
  const std::size_t wordBytes = std::min<std::size_t>(columnBits / 8, contents.size());
  finding.hasOtherWords = !std::equal(
      contents.begin(), contents.begin() + static_cast<std::ptrdiff_t>(wordBytes), column.begin());
  if (wordBytes == contents.size()) return;
  const unsigned lastBits = columnBits % 8;  // of the byte in which the column ends
  if (lastBits != 0) {
    const auto different = static_cast<unsigned>(contents[wordBytes] ^ column[wordBytes]);
    if ((different & ((1U << lastBits) - 1)) != 0) finding.hasOtherWords = true;
  }
  finding.hasBitsAfterWords = hasBitsFrom(columnBits, contents);
}

// For each wid the number of its last listing.
std::map<std::string_view, std::size_t> lastListings(const std::vector<std::string>& wids) {
  std::map<std::string_view, std::size_t> last;
  for (std::size_t i = 0; i < wids.size(); ++i) last[wids[i]] = i;
  return last;
}

MemoryWords copyOf(const MemoryWords& words) {
  MemoryWords copy(words.getNumEbrs(), words.getBitsPerEbr());
  copy.appendZeros(words.getBytes().size());
  std::ranges::copy(words.getBytes(), copy.getBytes().begin());
  return copy;
}

// Puts the contents, as far as the column reaches, in the place of the EBR's column in the words.
void putContents(std::span<const unsigned char> contents, std::span<const unsigned char> column,
                 std::uint64_t ebr, MemoryWords& words) {
  std::vector<unsigned char> found(column.begin(), column.end());
  std::ranges::copy(contents.first(std::min(contents.size(), found.size())), found.begin());
  putColumn(words, ebr, found);
}

}  // namespace

Comparison compareEbrs(const Bitstream& bitstream, const MemoryInputs& inputs) {
  const MemoryWords& words = *inputs.words;
  const std::map<std::string_view, std::size_t> last = lastListings(inputs.wids);
  std::vector<EbrCommand> commands;
  findEbrs(bitstream, inputs.wids, commands);
  EbrColumns columns(words);
  Comparison comparison;
  std::vector<unsigned char> contents;
  for (std::size_t ebr = 0; ebr < commands.size(); ++ebr) {
    EbrFinding finding;
    finding.ebr = ebr;
    finding.writtenWords = writableWords(commands[ebr].frameCount, words.getColumnBits(ebr));
    finding.facts = readContents(bitstream, commands[ebr], finding.writtenWords, contents);
    finding.isListedAgain = last.at(inputs.wids[ebr]) != ebr;
    const std::span<const unsigned char> column = columns.get(ebr);
    compareContents(contents, column, words.getColumnBits(ebr), finding);
    if (finding.hasOtherWords && !finding.isListedAgain) {
      if (!comparison.found) comparison.found.emplace(copyOf(words));
      putContents(contents, column, ebr, *comparison.found);
    }
    comparison.findings.push_back(finding);
  }
  return comparison;
}

std::optional<std::uint64_t> nextDifferentWord(const MemoryWords& a, const MemoryWords& b,
                                               std::uint64_t from) {
  const std::span<const unsigned char> left = a.getBytes(), right = b.getBytes();
  const std::uint64_t firstBit = from * a.getRoundBits();
  unsigned mask = 0xFFU << firstBit % 8;  // of the bits that count in the first byte
  for (std::uint64_t byte = firstBit / 8; byte < left.size(); ++byte, mask = 0xFF) {
    const unsigned different = (left[byte] ^ right[byte]) & mask;
    if (different == 0) continue;
    return (byte * 8 + static_cast<unsigned>(std::countr_zero(different))) / a.getRoundBits();
  }
  return std::nullopt;
}
