#include "design.h"

#include <algorithm>
#include <fstream>
#include <numeric>

#include "load/load.h"

namespace {

class DesignMaker {
 public:
  explicit DesignMaker(std::mt19937_64& source) : random(source) {}

  Design make() {
    outputOf([] {});  // makes the working folder
    const unsigned numMemories = 1 + below(3);
    for (unsigned i = 0; i < numMemories; ++i) addMemory("m" + std::to_string(i));
    std::ranges::shuffle(commands, random);
    std::string stream = digits(0xFF, 8);
    for (const std::string& command : commands) {
      stream += command;
      // A CRC that covers bits of the field before it would be right until that one changes.
      stream.resize((stream.size() + 7) / 8 * 8 + (identifierBits == 9 ? 0 : 8), '1');
    }
    design.stream = packDigits(stream);
    design.identifierBits = identifierBits;
    writeFile("in.bit", design.stream);
    writeFile("design.toml", map);
    return std::move(design);
  }

 private:
  unsigned below(unsigned n) { return static_cast<unsigned>(random() % n); }

  void addMemory(const std::string& name) {
    MemoryDesign& memory = design.memories.emplace_back();
    memory.name = name;
    memory.wordBits = isPlain ? 8 : std::vector{8U, 8U, 16U, 32U, 24U, 10U, 13U, 64U}[below(8)];
    memory.isBig = below(2) == 0;
    memory.fill = digits(below(3) == 0 ? 0x13 : 0, memory.wordBits);
    std::string words, wids;
    const unsigned numParts = 1 + below(3);
    for (unsigned i = 0; i < numParts; ++i) {
      addPart(memory);
      words += (i == 0 ? "" : ", ") + std::to_string(memory.parts.back().words);
      wids += i == 0 ? "[" : ", [";
      for (const LaneDesign& lane : memory.parts.back().lanes) wids += "'" + lane.widFile + "',";
      wids += "]";
    }
    map += "[memory." + name + "]\nwords = [" + words + "]\nwid = [" + wids + "]\n";
    map += "fill = " + std::to_string(std::stoul(memory.fill, nullptr, 2)) + "\n";
    if (!memory.hasBytes()) return;
    memory.base = nextBase;
    nextBase += memory.bytes() + below(2) * 64;
    map += "base = " + std::to_string(memory.base) + "\n";
    map += memory.isBig ? "order = 'big'\n" : "order = 'little'\n";
  }

  void addPart(MemoryDesign& memory) {
    PartDesign& part = memory.parts.emplace_back();
    part.firstWord = static_cast<unsigned>(memory.words.size());
    part.words = 1 + below(24);
    memory.words.resize(part.firstWord + part.words, memory.fill);
    for (unsigned bit = 0; bit < memory.wordBits;) {
      const unsigned left = memory.wordBits - bit;
      addLane(part, bit, isPlain || below(2) == 0 ? left : 1 + below(left));
      bit += part.lanes.back().bits();
    }
  }

  void addLane(PartDesign& part, unsigned firstBit, unsigned bits) {
    LaneDesign& lane = part.lanes.emplace_back();
    lane.firstBit = firstBit;
    lane.bitsPerEbr =
        std::gcd(bits, isPlain ? 8 : std::vector{1U, 2U, 4U, 8U, 16U, 3U, 13U}[below(7)]);
    lane.widFile = std::to_string(numLanes++) + ".wid";
    for (unsigned ebr = 0; ebr < bits / lane.bitsPerEbr; ++ebr) {
      lane.wids.push_back(digits(++numEbrs, identifierBits));
      const unsigned frames = (part.words * lane.bitsPerEbr + 63) / 64 + below(2);
      commands.push_back(ebrDigits(lane.wids.back(), frames, digits(random(), 64)));
    }
    std::string text;
    for (const std::string& wid : lane.wids) text += "0b" + wid + "\n";
    writeFile(lane.widFile, text + "aw1;dw" + std::to_string(bits) + "\n");
  }

  std::mt19937_64& random;
  Design design;
  const unsigned identifierBits = 9 + below(2) * 3;  // with 9 a command has whole bytes
  const bool isPlain = below(3) == 0;                // every EBR has bytes as they are loaded
  unsigned numLanes = 0, numEbrs = 0, nextBase = 0x100;
  std::vector<std::string> commands;
  std::string map = "version = 1\n";
};

// The bits of a part's words from bit `low` (the lowest is 0) on, word after word.
std::string bitsOf(const MemoryDesign& memory, const PartDesign& part, unsigned low,
                   unsigned count) {
  std::string row;
  for (unsigned word = 0; word < part.words; ++word) {
    row += memory.words[part.firstWord + word].substr(memory.wordBits - low - count, count);
  }
  return row;
}

// A memory file of words without gaps, the last line filled up with zeros.
std::string spellMem(std::string row, unsigned wordBits) {
  const std::size_t lineBits = std::lcm(wordBits, 8U);
  row.resize((row.size() + lineBits - 1) / lineBits * lineBits, '0');
  std::string text;
  for (std::size_t i = 0; i < row.size(); i += 4) {
    text += "0123456789ABCDEF"[std::stoul(row.substr(i, 4), nullptr, 2)];
    if ((i + 4) % lineBits == 0) text += '\n';
  }
  return text;
}

std::string spellWid(const std::vector<std::string>& wids, unsigned bits) {
  std::string text;
  for (const std::string& wid : wids) text += wid + "\n";
  return text + "aw10;dw" + std::to_string(bits) + "\n";
}

template <typename Visit>
void forEachLane(const Design& design, const std::vector<std::vector<bool>>& touched,
                 const Visit& visit) {
  for (std::size_t i = 0; i < design.memories.size(); ++i) {
    const MemoryDesign& memory = design.memories[i];
    for (std::size_t part = 0; part < memory.parts.size(); ++part) {
      if (!touched[i][part]) continue;
      for (const LaneDesign& lane : memory.parts[part].lanes)
        visit(memory, memory.parts[part], lane);
    }
  }
}

}  // namespace

void MemoryDesign::setByte(unsigned offset, unsigned char byte) {
  const unsigned wordBytes = wordBits / 8, place = offset % wordBytes;
  const unsigned fromTop = isBig ? place : wordBytes - 1 - place;
  words[offset / wordBytes].replace(fromTop * 8, 8, digits(byte, 8));
}

Design makeDesign(std::mt19937_64& random) { return DesignMaker(random).make(); }

void writeFile(const std::string& name, const std::string& bytes) {
  std::ofstream(name, std::ios::binary) << bytes;
}

std::string load(std::vector<std::string> arguments) {
  std::vector<const char*> argv = {"ramgraft-load"};
  for (const std::string& argument : arguments) argv.push_back(argument.c_str());
  int status = 0;
  const std::string text =
      outputOf([&] { status = runLoad(static_cast<int>(argv.size()), argv.data()); });
  return text + std::to_string(status);
}

std::string graftChain(const Design& design, std::string stream,
                       const std::vector<std::vector<bool>>& touched) {
  forEachLane(
      design, touched,
      [&](const MemoryDesign& memory, const PartDesign& part, const LaneDesign& lane) {
        if (stream.empty()) return;
        const std::string row = bitsOf(memory, part, lane.firstBit, lane.bits());
        stream =
            runTool({stream, spellWid(lane.wids, lane.bits()), spellMem(row, lane.bits())}).bytes;
      });
  return stream;
}

std::string firstWrongEbr(const Design& design, const std::string& output,
                          const std::vector<std::vector<bool>>& touched) {
  const std::string input = unpackBytes(design.stream), loaded = unpackBytes(output);
  std::string wrong;
  forEachLane(
      design, touched,
      [&](const MemoryDesign& memory, const PartDesign& part, const LaneDesign& lane) {
        for (std::size_t ebr = 0; ebr < lane.wids.size() && wrong.empty(); ++ebr) {
          // Contents that look like this would be a wonder.
          const std::size_t at = loaded.find(digits(0xF6, 8) + digits(0, 36) + lane.wids[ebr] +
                                             digits(0, 11) + digits(0xB2D0, 16));
          const std::size_t begin = at / 8 * 8, header = at - begin + 87 + lane.wids[ebr].size();
          const std::size_t frames = std::stoul(loaded.substr(begin + header - 16, 16), nullptr, 2);
          const std::size_t size = header + frames * 72 + 16;
          const auto low = lane.firstBit + static_cast<unsigned>(ebr) * lane.bitsPerEbr;
          const std::string own =
              runTool({packDigits(input.substr(begin, size)),
                       spellWid({lane.wids[ebr]}, lane.bitsPerEbr),
                       spellMem(bitsOf(memory, part, low, lane.bitsPerEbr), lane.bitsPerEbr)})
                  .bytes;
          if (unpackBytes(own).substr(header, size - header) !=
              loaded.substr(begin + header, size - header)) {
            wrong = "EBR " + lane.wids[ebr];
          }
        }
      });
  return wrong;
}
