// ramgraft-load: what its loads promise, and what it refuses.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>

#include "design.h"
#include "firmwarefiles.h"
#include "inspected.h"

namespace {

using Touched = std::vector<std::vector<bool>>;

// Bytes that often spell the address section of one of the EBRs 1 to 7, where an EBR has bytes.
std::string makeBytes(std::mt19937_64& random, std::size_t count) {
  constexpr std::string_view SECTION("\xF0\x03\0\0\0\0", 6);
  std::string bytes;
  while (bytes.size() < count) {
    if (random() % 4 == 0) bytes += SECTION;
    bytes += static_cast<char>(random());
  }
  return bytes.substr(0, count);
}

std::string spellHex(std::string bits) {
  bits.insert(0, (4 - bits.size() % 4) % 4, '0');
  std::string text;
  for (std::size_t i = 0; i < bits.size(); i += 4) {
    text += "0123456789abcdef"[std::stoul(bits.substr(i, 4), nullptr, 2)];
  }
  return text;
}

// What a load is to do, and which parts of the design it touches.
struct Task {
  std::vector<std::string> arguments;
  Touched touched;
};

// Contents of one memory. Notes in the design what is to stand there then.
std::string makeContent(std::mt19937_64& random, MemoryDesign& memory) {
  if (!memory.hasBytes()) {
    const std::size_t word = random() % memory.words.size();
    memory.words[word] = digits(random(), memory.wordBits);
    writeFile(memory.name,
              "@" + spellHex(digits(word, 8)) + " // one word\n" + spellHex(memory.words[word]));
    return memory.name + "=" + memory.name;
  }
  const auto from = static_cast<unsigned>(random() % memory.bytes());
  const std::string bytes = makeBytes(random, 1 + random() % (memory.bytes() - from));
  for (unsigned i = 0; i < bytes.size(); ++i) {
    memory.setByte(from + i, static_cast<unsigned char>(bytes[i]));
  }
  writeFile(memory.name, bytes);
  const bool isByName = random() % 2 == 0;
  return (isByName ? memory.name + "+" + std::to_string(from)
                   : std::to_string(memory.base + from)) +
         "=bin:" + memory.name;
}

// A load of contents into all memories, or with --keep into some of them.
Task makeTask(std::mt19937_64& random, bool isKept, Design& design) {
  Task task;
  for (MemoryDesign& memory : design.memories) {
    const bool isTouched = !isKept || random() % 2 == 0;
    task.touched.emplace_back(memory.parts.size(), isTouched);
    if (!isTouched) continue;
    if (!isKept) std::ranges::fill(memory.words, memory.fill);
    task.arguments.push_back(makeContent(random, memory));
  }
  if (isKept) task.arguments.emplace_back("--keep");
  return task;
}

// Adds a --set of two bytes.
void addSet(std::mt19937_64& random, Design& design, Task& task) {
  const std::size_t number = random() % design.memories.size();
  MemoryDesign& memory = design.memories[number];
  if (!memory.hasBytes() || memory.bytes() < 2) return;
  const auto offset = static_cast<unsigned>(random() % (memory.bytes() - 1));
  memory.setByte(offset, memory.isBig ? 0x12 : 0x34);
  memory.setByte(offset + 1, memory.isBig ? 0x34 : 0x12);
  task.arguments.push_back("--set=" + memory.name + "+" + std::to_string(offset) + "=u16:0x1234");
  for (std::size_t part = 0; part < memory.parts.size(); ++part) {
    const unsigned wordBytes = memory.wordBits / 8, begin = memory.parts[part].firstWord;
    for (const unsigned word : {offset / wordBytes, (offset + 1) / wordBytes}) {
      if (word >= begin && word < begin + memory.parts[part].words) {
        task.touched[number][part] = true;
      }
    }
  }
}

// True if there is an address section beside those of the EBRs.
bool isSpelled(const std::string& stream, std::size_t numEbrs) {
  const std::string bits = unpackBytes(stream);
  std::size_t at = 0, sections = 0;
  for (; findSection(bits, at); at -= 43) ++sections;
  return sections != numEbrs;
}

std::size_t countEbrs(const Design& design) {
  std::size_t count = 0;
  for (const MemoryDesign& memory : design.memories) {
    for (const PartDesign& part : memory.parts) {
      for (const LaneDesign& lane : part.lanes) count += lane.wids.size();
    }
  }
  return count;
}

// Turns one bit of a touched EBR's payload or CRC over. Nothing if no EBR is touched.
std::string damage(std::mt19937_64& random, const Design& design, const Touched& touched,
                   const std::string& stream) {
  for (std::size_t i = 0; i < touched.size(); ++i) {
    for (std::size_t part = 0; part < touched[i].size(); ++part) {
      if (!touched[i][part]) continue;
      const std::string& wid = design.memories[i].parts[part].lanes.front().wids.front();
      std::string bits = unpackBytes(stream);
      const std::size_t at = bits.find(digits(0xF6, 8) + digits(0, 36) + wid + digits(0, 11));
      const std::size_t count = at + 71 + wid.size();
      const std::size_t frames = std::stoul(bits.substr(count, 16), nullptr, 2);
      bits[count + 16 + random() % (frames * 72 + 16)] ^= 1;
      return packDigits(bits);
    }
  }
  return "";
}

std::string runTask(const Task& task, const std::string& input) {
  writeFile("task.bit", input);
  std::vector<std::string> arguments = {"-o", "loaded.bit", "design.toml", "task.bit"};
  arguments.insert(arguments.end(), task.arguments.begin(), task.arguments.end());
  const std::string said = load(arguments);
  return said.back() == '0' ? contentsOf("loaded.bit") : said;
}

std::string checkTask(const Task& task, const std::string& stream) {
  writeFile("task.bit", stream);
  std::vector<std::string> arguments = {"--check", "design.toml", "task.bit"};
  arguments.insert(arguments.end(), task.arguments.begin(), task.arguments.end());
  return load(arguments);
}

TEST(Load, LeavesWhatAChainOfRunsLeaves) {
  std::mt19937_64 random(1);
  unsigned numSpelled = 0;
  for (int i = 0; i < 300; ++i) {
    Design design = makeDesign(random);
    std::string input = design.stream;
    for (const bool isKept : {false, true}) {
      Task task = makeTask(random, isKept, design);
      if (isKept) addSet(random, design, task);
      if (task.arguments == std::vector<std::string>{"--keep"}) continue;
      const std::string output = runTask(task, input);
      if (graftChain(design, input, task.touched) != output) {
        const std::size_t numEbrs = countEbrs(design);
        ASSERT_TRUE(isSpelled(input, numEbrs) || isSpelled(output, numEbrs)) << i << output;
        ASSERT_EQ(firstWrongEbr(design, output, task.touched), "") << i;
        ++numSpelled;
      }
      ASSERT_EQ(checkTask(task, output).back(), '0') << i;
      ASSERT_EQ(checkTask(task, damage(random, design, task.touched, output)).back(), '1') << i;
      input = output;
    }
  }
  EXPECT_GT(numSpelled, 10U);
  EXPECT_LT(numSpelled, 200U);
}

}  // namespace
