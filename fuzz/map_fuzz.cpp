// Maps of memories over a fixed stream and fixed width files; and the same input as text words.
#include <algorithm>
#include <fstream>
#include <vector>

#include "fixture.h"
#include "inputs/wordtext.h"
#include "layout/addresses.h"
#include "layout/placement.h"

namespace {

using Bytes = std::vector<unsigned char>;

constexpr unsigned NUM_WIDS = 8;
constexpr unsigned WID_EBRS[NUM_WIDS] = {1, 2, 3, 4, 1, 2, 3, 1};
constexpr unsigned EBR_BITS[NUM_WIDS] = {8, 8, 8, 4, 16, 4, 3, 1};

void write(const std::string& name, const std::string& text) {
  std::ofstream(name, std::ios::binary) << text;
}

// Leaves the width files 0.wid to 7.wid; the stream has their EBRs, of one frame each.
std::string prepare() {
  outputOf([] {});  // makes the working folder
  std::string stream;
  for (unsigned wid = 0, id = 0; wid < NUM_WIDS; ++wid) {
    std::string text;
    for (unsigned i = 0; i < WID_EBRS[wid]; ++i, ++id) {
      text += digits(id, 6) + "\n";
      stream += ebrDigits(digits(id, 6), 1, "0");
    }
    write(std::to_string(wid) + ".wid",
          text + "aw3;dw" + std::to_string(WID_EBRS[wid] * EBR_BITS[wid]));
  }
  return stream;
}

void checkAddresses(const Map& map) {
  const AddressSpace space(map);
  for (const AddressRange& range : space.getRanges()) {
    require(range.first <= range.last);
    require(space.find(range.first) == &range && space.find(range.last) == &range);
    const AddressRange* const next = space.firstAfter(range.last);
    require(next == nullptr || space.lastBefore(next->first) == &range);
  }
}

void checkWordText(std::string_view text, std::uint64_t wordBits) {
  const std::size_t wordBytes = (wordBits + 7) / 8;
  std::vector<unsigned char> big, little;
  const auto read = [&](std::endian order, std::vector<unsigned char>& bytes) {
    return readWordText(text, wordBits, order, [&](const WordRun& run) {
      require(run.words > 0 && run.lineWords > 0 && run.bytes.size() == run.words * wordBytes);
      bytes.insert(bytes.end(), run.bytes.begin(), run.bytes.end());
      return "";
    });
  };
  require(read(std::endian::big, big).text == read(std::endian::little, little).text);
  require(big.size() <= text.size() * wordBytes && little.size() == big.size());
  for (std::size_t word = 0; word < big.size(); word += wordBytes) {
    std::reverse(&little[word], &little[word] + wordBytes);
  }
  require(little == big);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::string stream = prepare();
  const std::string text(reinterpret_cast<const char*>(data), size);
  for (const std::uint64_t wordBits : {UINT64_C(1), UINT64_C(12), UINT64_C(32), UINT64_C(100)})
    checkWordText(text, wordBits);
  // Files other than these would make an input's fate the machine's.
  if (text.find('/') != text.npos || text.find('\\') != text.npos) return 0;
  write("m.toml", text);
  Map map;
  if (!readMap("m.toml", map).empty()) return 0;
  checkAddresses(map);
  Bitstream bitstream(0);
  pushDigits(bitstream, stream);
  Placement placement;
  if (!placeMap(map, "in.bit", bitstream, false, placement).empty()) return 0;
  for (const EbrCommand& command : placement.ebrs) require(command.fault == CommandFault::NONE);
  return 0;
}

std::string makeSeed(std::mt19937_64& random) {
  using Texts = std::vector<std::string>;
  const auto pick = [&](const Texts& from) { return from[random() % from.size()]; };
  const std::vector<Texts> words = {{"12 3f\n", "@1_0 "}, {"/* 1\n2 */ ", "# 4\n"}, {"5 @3 6"}};
  const std::vector<Texts> map = {
      {"version = 1\n[memory.a]\nbase = 0",
       "version = 1\n[memory.a]\nbase = '0xFFFF_FFFF_FFFF_FFF0'"},
      {"\nwords = 4", "\nwords = [1, 3]", "\nwords = [3, 2]"},
      {"\norder = 'little'\n", "\norder = 'big'\n"},
      {"wid = ['1.wid', '4.wid']\n", "wid = [['0.wid', '5.wid'], '3.wid']\n"},
      {"", "fill = 0xABC\n", "also-at = [0x8000, 0x9000]\n"},
      {"", "[memory.\"b.c\"]\nwords = 2\nwid = '2.wid'\norder = 'big'\nbase = 0x100\n"},
      {"", "[memory.odd]\nwords = 2\nwid = [['7.wid', '6.wid']]\nfill = 0x3FF\n"},
      {"", "[outside]\nflash = {base = 0x4000, bytes = 16}\n"}};
  std::string text;
  for (const Texts& texts : random() % 4 == 0 ? words : map) text += pick(texts);
  return text;
}
