// ramgraft-load: what its loads promise, and what it refuses.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <iomanip>
#include <sstream>

#include "design.h"
#include "ebr/walk.h"
#include "firmwarefiles.h"
#include "inspected.h"
#include "layout/fingerprint.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

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

// Contents of one memory. Notes in the design what is to be there then.
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

// Returns the output, or what was said of a failure. Notes whether EBRs are out of ramgraft's
// reach.
std::string runTask(const Task& task, const std::string& input, unsigned& numNoted) {
  writeFile("task.bit", input);
  std::vector<std::string> arguments = {"-o", "loaded.bit", "design.toml", "task.bit"};
  arguments.insert(arguments.end(), task.arguments.begin(), task.arguments.end());
  const std::string said = load(arguments);
  if (said.find("NOTE: ") != std::string::npos) ++numNoted;
  return said.back() == '0' ? contentsOf("loaded.bit") : said;
}

// The fingerprint as it is defined, the plain way.
std::string plainFingerprint(const std::string& stream, std::uint64_t identifierBits) {
  Bitstream bitstream(0);
  pushDigits(bitstream, unpackBytes(stream));
  std::string bits = unpackBytes(stream);
  const std::vector<EbrCommand> walk = walkCommands(bitstream, identifierBits);
  for (const EbrCommand& command : walk) {
    const std::size_t size = command.payloadBits() + CRC_BITS;
    if (command.fault == CommandFault::NONE) {
      bits.replace(command.payloadIndex, size, size, '0');
    }
  }
  bits = packDigits(bits);
  std::ostringstream text;
  text << "xxh3:" << std::hex << std::setw(16) << std::setfill('0')
       << XXH3_64bits(bits.data(), bits.size());
  return fingerprintOf(bitstream, walk) == text.str() ? text.str() : "not as defined";
}

// How the fingerprint breaks its promise; empty if it keeps it.
std::string brokenFingerprint(std::mt19937_64& random, const std::string& before,
                              const std::string& after, std::uint64_t identifierBits) {
  const std::string fingerprint = plainFingerprint(before, identifierBits);
  if (plainFingerprint(after, identifierBits) != fingerprint) return "changed by a load";
  std::string outside = unpackBytes(after);
  Bitstream bitstream(0);
  pushDigits(bitstream, outside);
  for (const EbrCommand& command : walkCommands(bitstream, identifierBits)) {
    const std::size_t size = command.payloadBits() + CRC_BITS;
    outside.replace(command.payloadIndex, size, size, 'x');
  }
  for (int i = 0; i < 20; ++i) {
    const std::size_t bit = random() % outside.size();
    if (outside[bit] == 'x') continue;
    std::string turned = after;
    turned[bit / 8] = static_cast<char>(turned[bit / 8] ^ 0x80 >> bit % 8);
    if (plainFingerprint(turned, identifierBits) == fingerprint) {
      return "not changed by bit " + std::to_string(bit);
    }
  }
  return "";
}

std::string checkTask(const Task& task, const std::string& stream) {
  writeFile("task.bit", stream);
  std::vector<std::string> arguments = {"--check", "design.toml", "task.bit"};
  arguments.insert(arguments.end(), task.arguments.begin(), task.arguments.end());
  return load(arguments);
}

// Dumps all memories that a load has touched. A dump must have their words, and change none.
void checkDumps(const Design& design, const Touched& touched) {
  for (std::size_t i = 0; i < design.memories.size(); ++i) {
    const MemoryDesign& memory = design.memories[i];
    if (std::ranges::count(touched[i], false) != 0) continue;
    const char* const form = memory.hasBytes() ? "--" : "--words";
    ASSERT_EQ(inspect({"dump", "-o", "dump", form, "design.toml", "loaded.bit", &memory.name[0]}),
              "0");
    const std::string dump = contentsOf("dump");
    MemoryDesign found = memory;
    for (unsigned at = 0; at < (memory.hasBytes() ? dump.size() : 0U); ++at) {
      found.setByte(at, static_cast<unsigned char>(dump[at]));
    }
    ASSERT_TRUE(!memory.hasBytes() || dump.size() == memory.bytes());
    ASSERT_EQ(found.words, memory.words);
    const std::string format = memory.hasBytes() ? "=bin:dump" : "=mem:dump";
    ASSERT_EQ(load({"--check", "--quiet", "design.toml", "loaded.bit", memory.name + format}), "0");
  }
}

TEST(Load, LeavesWhatAChainOfRunsLeaves) {
  std::mt19937_64 random(1);
  unsigned numSpelled = 0, numNoted = 0;
  for (int i = 0; i < 300; ++i) {
    Design design = makeDesign(random);
    std::string input = design.stream;
    for (const bool isKept : {false, true}) {
      Task task = makeTask(random, isKept, design);
      if (isKept) addSet(random, design, task);
      if (task.arguments == std::vector<std::string>{"--keep"}) continue;
      const std::string output = runTask(task, input, numNoted);
      if (graftChain(design, input, task.touched) != output) {
        const std::size_t numEbrs = countEbrs(design);
        ASSERT_TRUE(isSpelled(input, numEbrs) || isSpelled(output, numEbrs)) << i << output;
        ASSERT_EQ(firstWrongEbr(design, output, task.touched), "") << i;
        ++numSpelled;
      }
      ASSERT_EQ(checkTask(task, output).back(), '0') << i;
      ASSERT_EQ(brokenFingerprint(random, input, output, design.identifierBits), "") << i;
      checkDumps(design, task.touched);
      ASSERT_EQ(checkTask(task, damage(random, design, task.touched, output)).back(), '1') << i;
      input = output;
    }
  }
  EXPECT_GE(numSpelled, 5U);
  EXPECT_GE(numNoted, 5U);
  EXPECT_LT(numSpelled, 200U);
}

// A ROM of two parts and a RAM, each with words of 32 bits, and a memory of odd words.
void writeDesign() {
  outputOf([] {});  // makes the working folder
  std::string stream = digits(0xFF, 8);
  for (unsigned ebr = 1; ebr <= 13; ++ebr) {
    stream += ebrDigits(digits(ebr, 9), 1, digits(0x55 + ebr, 9));
  }
  writeFile("in.bit", packDigits(stream));
  const auto writeWid = [](const char* name, unsigned first, unsigned count, const char* width) {
    std::string text;
    for (unsigned ebr = first; ebr < first + count; ++ebr) text += digits(ebr, 9) + "\n";
    writeFile(name, text + "aw1;dw" + width);
  };
  writeWid("rom0.wid", 1, 4, "32");
  writeWid("rom1.wid", 5, 4, "32");
  writeWid("ram.wid", 9, 4, "32");
  writeWid("odd.wid", 13, 1, "10");
  writeFile(
      "design.toml",
      "version = 1\n"
      "[memory.rom]\nbase = 0x1000\nwords = 8\nwid = ['rom0.wid', 'rom1.wid']\norder = 'little'\n"
      "[memory.ram]\nbase = 0x20000000\nwords = 8\nwid = 'ram.wid'\norder = 'big'\n"
      "also-at = [0x80000000, '0xFFFFFFFFF0001000']\nfill = 0xAABBCCDD\n"
      "[memory.odd]\nwords = 4\nwid = 'odd.wid'\n"
      "[outside.flash]\nbase = 0x30000000\nbytes = 16\n");
  writeFile("fw.elf", elfFile(false, false));
  writeFile("big.elf", elfFile(true, true));
  writeFile("fw.hex", hexRecord(0, 0x1000, "codecodedata") + hexRecord(1, 0, ""));
  writeFile("fw.srec",
            sRecord(1, 0x1000, "codecode") + sRecord(1, 0x1008, "data") + sRecord(9, 0, ""));
  writeFile("far.hex", hexRecord(4, 0, "\x20" + std::string(1, '\0')) + hexRecord(0, 0x30, "far") +
                           hexRecord(1, 0, ""));
  writeFile("flash.hex", hexRecord(4, 0, "\x30" + std::string(1, '\0')) + hexRecord(0, 4, "flash") +
                             hexRecord(1, 0, ""));
  writeFile("ten.bin", "0123456789");
  writeFile("long.bin", std::string(33, 'x'));
  writeFile("empty.bin", "");
  writeFile("words.mem", "// words\n3FF 1\n@3 2A\n");
  writeFile("wide.mem", "1\n3FF 400\n");
}

TEST(Load, SaysWhatItDoesAndWhatItRefuses) {
  writeDesign();
  ASSERT_EQ(load({"-o", "right.bit", "--quiet", "design.toml", "in.bit", "fw.elf"}), "0");
  std::string damaged = unpackBytes(contentsOf("right.bit"));
  damaged[8 + 96 + 72 + 3] ^= 1;
  writeFile("crc.bit", packDigits(damaged));
  damaged[8 + 96] ^= 1;
  writeFile("ninth.bit", packDigits(damaged));
  writeFile("a b$#.bin", "0123456789");
  for (const auto& [command, said] : readCases("load_cases.txt")) {
    EXPECT_EQ(runCommand(command), said) << command;
  }
  // An output that is right already keeps its time, but only if that is asked for.
  const timespec old[] = {{1, 0}, {1, 0}};
  ASSERT_EQ(::utimensat(AT_FDCWD, "in.bit", old, 0), 0);
  for (const char* const option : {"--if-changed", "--keep"}) {
    EXPECT_EQ(load({"-o", "in.bit", option, "--quiet", "design.toml", "in.bit", "fw.elf"}), "0");
    struct stat status {};
    ASSERT_EQ(::stat("in.bit", &status), 0);
    EXPECT_EQ(status.st_mtim.tv_sec == 1, std::string_view(option) == "--if-changed");
  }
}

}  // namespace
