// ramgraft-load: what its loads promise, and what it refuses.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>

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
      "also-at = 0x80000000\nfill = 0xAABBCCDD\n"
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
  const std::pair<const char*, const char*> rows[] = {
      {"fw.elf --quiet", "0"},
      {"fw.elf",
       "rom   0x00001000..0x0000101F   12 of 32 bytes (37.5 %)   fw.elf\nram   "
       "0x20000000..0x2000001F   unchanged\nodd                            unchanged\n0"},
      {"fw.hex ram+4=ten.bin odd=words.mem",
       "rom   0x00001000..0x0000101F   12 of 32 bytes (37.5 %)   fw.hex\nram   "
       "0x20000000..0x2000001F   10 of 32 bytes (31.3 %)   ten.bin\nodd                            "
       "6 of 8 bytes (75.0 %)     words.mem\n0"},
      {"flash.hex --keep fw.elf --set=ram+2=DEADBEEF --set counter=u16:0x102",
       "rom     0x00001000..0x0000101F   12 of 32 bytes (37.5 %)    fw.elf\nram     "
       "0x20000000..0x2000001F   set in part\nodd                              unchanged\nflash    "
       "                        5 bytes outside, skipped   flash.hex\nset   ram+2 0x20000002 = "
       "DEADBEEF\nset   counter 0x0000100A = 0201\n0"},
      {"--set 0x80000004=u32:1001 --set ram+8=str:hello --set 0x1004=u8:255",
       "rom   0x00001000..0x0000101F   set in part\nram   0x20000000..0x2000001F   set in "
       "part\nodd                            unchanged\nset   0x80000004 0x20000004 = "
       "000003E9\nset   ram+8 0x20000008 = 68656C6C6F\nset   0x1004 0x00001004 = FF\n0"},
      {"--json flash.hex --set=ram=00 odd=words.mem fw.srec",
       "rom     0x00001000..0x0000101F   12 of 32 bytes (37.5 %)    fw.srec\nram     "
       "0x20000000..0x2000001F   set in part\nodd                              6 of 8 bytes (75.0 "
       "%)      words.mem\nflash                            5 bytes outside, skipped   "
       "flash.hex\nset   ram 0x20000000 = 00\n{\"version\": 1, \"memories\": [{\"name\": \"rom\", "
       "\"base\": \"0x00001000\", \"bytes\": 32, \"loaded\": 12, \"touched\": true, \"files\": "
       "[\"fw.srec\"]}, {\"name\": \"ram\", \"base\": \"0x20000000\", \"bytes\": 32, \"loaded\": "
       "0, \"touched\": true, \"files\": []}, {\"name\": \"odd\", \"base\": null, \"bytes\": 8, "
       "\"loaded\": 6, \"touched\": true, \"files\": [\"words.mem\"]}], \"files\": [{\"file\": "
       "\"flash.hex\", \"format\": \"hex\", \"ranges\": [{\"address\": \"0x30000004\", \"bytes\": "
       "5, \"memory\": null}]}, {\"file\": \"words.mem\", \"format\": \"mem\", \"ranges\": "
       "[{\"address\": \"odd word 0\", \"bytes\": 4, \"memory\": \"odd\"}, {\"address\": \"odd "
       "word 3\", \"bytes\": 2, \"memory\": \"odd\"}]}, {\"file\": \"fw.srec\", \"format\": "
       "\"srec\", \"ranges\": [{\"address\": \"0x00001000\", \"bytes\": 12, \"memory\": "
       "\"rom\"}]}], \"sets\": [{\"place\": \"ram\", \"address\": \"0x20000000\", \"bytes\": "
       "\"00\"}], \"outside\": [{\"name\": \"flash\", \"base\": \"0x30000000\", \"skipped\": 5, "
       "\"files\": [\"flash.hex\"]}], \"warnings\": []}\n0"},
      {"--json nothing.elf",
       "{\"version\": 1, \"error\": \"can't open file nothing.elf: No such file or "
       "directory\"}\nERROR: can't open file nothing.elf: No such file or directory\n2"},
      {"big.elf",
       "ERROR: big.elf: its byte order is big, that of rom (design.toml, line 2) isn't; "
       "--any-byte-order takes it as it is\n2"},
      {"big.elf --any-byte-order --quiet", "0"},
      {"far.hex",
       "ERROR: far.hex, line 2, 3 bytes at 0x20000030, in no memory; ram ends at 0x2000001F\n2"},
      {"ten.bin", "ERROR: ten.bin has no address: write 0x100=ten.bin or rom=ten.bin\n2"},
      {"long.bin", "ERROR: long.bin has no address: write 0x100=long.bin or rom=long.bin\n2"},
      {"rom=long.bin ",
       "ERROR: long.bin: the data is 1 byte too long for rom (design.toml, line 2)\n2"},
      {"0x1002=bin:long.bin",
       "ERROR: long.bin: the data is 3 bytes too long for rom (design.toml, line 2)\n2"},
      {"rom=fw.elf",
       "ERROR: fw.elf: .text begins 4064 bytes past the end of rom (design.toml, line 2)\n2"},
      {"0x20001000=ten.bin",
       "ERROR: ten.bin, 10 bytes at 0x20001000, in no memory; ram ends at 0x2000001F\n2"},
      {"ram+28=ten.bin",
       "ERROR: ten.bin: the data is 6 bytes too long for ram (design.toml, line 7)\n2"},
      {"ram+40=ten.bin",
       "ERROR: ten.bin begins 8 bytes past the end of ram (design.toml, line 7)\n2"},
      {"0xFFFFFFFFFFFFFFFF=ten.bin", "ERROR: ten.bin: 10 bytes run past the address 2^64 - 1\n2"},
      {"0xFFFFFFFFFFFFFFFF=fw.hex",
       "ERROR: fw.hex, line 1: 12 bytes run past the address 2^64 - 1\n2"},
      {"0x2FFFFFFC=ten.bin",
       "ERROR: ten.bin, 4 bytes at 0x2FFFFFFC, in no memory; flash begins at 0x30000000\n2"},
      {"0x1=no/file.bin", "ERROR: can't open file no/file.bin: No such file or directory\n2"},
      {"99999999999999999999=ten.bin",
       "ERROR: 99999999999999999999: no place: a number that doesn't fit 64 bits\n2"},
      {"sram=ten.bin", "ERROR: sram: design.toml has no memory sram\n2"},
      {"rom=empty.bin", "ERROR: empty.bin: holds no bytes\n2"},
      {"odd=ten.bin",
       "ERROR: ten.bin: odd (design.toml, line 14) has words of 10 bits and takes text words "
       "only\n2"},
      {"odd=wide.mem",
       "ERROR: wide.mem, line 2, column 5: a word of 11 bits, the memory's have 10\n2"},
      {"odd+1=words.mem",
       "ERROR: odd+1: not at the beginning of a word of odd, which has 2 bytes\n2"},
      {"odd+6=words.mem",
       "ERROR: words.mem, line 2: the data is 1 word too long for odd (design.toml, line 14)\n2"},
      {"0x30000000=mem:words.mem",
       "ERROR: words.mem: text words need a memory, and 0x30000000 is in none\n2"},
      {"rom=mem:empty.bin", "ERROR: empty.bin: holds no words\n2"},
      {"fw.elf 0x1004=ten.bin",
       "ERROR: ten.bin has 30 at 0x00001004, where fw.elf: .text has 63\n2"},
      {"fw.elf fw.hex fw.srec --quiet", "0"},
      {"elf:fw.hex", "ERROR: fw.hex: not an ELF file, or its header is damaged\n2"},
      {"--symbols fw.hex fw.elf", "ERROR: fw.hex: not an ELF file, or its header is damaged\n2"},
      {"--set x=1",
       "ERROR: --set x=1: 1: no whole bytes: two hexadecimal digits each, or u8: u16: u32: u64: "
       "str:\n2"},
      {"--set nobody=11", "ERROR: --set nobody=11: no memory and no symbol is called nobody\n2"},
      {"--set ram", "ERROR: --set ram: no PLACE=VALUE\n2"},
      {"--set ram=u8:256", "ERROR: --set ram=u8:256: 256: too large for 8 bits\n2"},
      {"--set ram=u64:18446744073709551616",
       "ERROR: --set ram=u64:18446744073709551616: 18446744073709551616: no number from 0 to 2^64 "
       "- 1\n2"},
      {"--set ram=u32:x", "ERROR: --set ram=u32:x: x: no number from 0 to 2^64 - 1\n2"},
      {"--set ram=str:", "ERROR: --set ram=str:: str: has no text\n2"},
      {"--set ram=0x11",
       "ERROR: --set ram=0x11: 0x11: not hexadecimal, and no u8: u16: u32: u64: str:\n2"},
      {"--set ram+31=u16:1", "ERROR: --set ram+31=u16:1: 2 bytes reach over the end of ram\n2"},
      {"--set ram+32=11", "ERROR: --set ram+32=11: ram has only 32 bytes\n2"},
      {"--set odd=11", "ERROR: --set odd=11: odd has words of 10 bits, which no value can set\n2"},
      {"--set 0x2000=11", "ERROR: --set 0x2000=11: 0x2000 is in no memory\n2"},
      {"--set 0x30000001=11",
       "ERROR: --set 0x30000001=11: 0x30000001 is in flash, outside of the bitstream\n2"},
      {"--set =11", "ERROR: --set =11: no place\n2"},
      {"--set ram+99999999999999999999=11",
       "ERROR: --set ram+99999999999999999999=11: no place\n2"},
      {"--set rom+0xFFFFFFFFFFFFFFFF=11",
       "ERROR: --set rom+0xFFFFFFFFFFFFFFFF=11: rom has only 32 bytes\n2"},
      {"--set blank=u32:5 --symbols fw.elf",
       "rom   0x00001000..0x0000101F   unchanged\nram   0x20000000..0x2000001F   set in part\nodd  "
       "                          unchanged\nset   blank 0x20000008 = 00000005\n0"},
      {"", "ERROR: nothing to load: no CONTENT and no --set; ramgraft-load --help explains\n2"},
  };
  for (const auto& [arguments, said] : rows) {
    std::istringstream words(arguments);
    std::vector<std::string> all = {"-o", "out.bit", "design.toml", "in.bit"};
    for (std::string word; words >> word;) all.push_back(word);
    EXPECT_EQ(load(all), said) << arguments;
  }
}

std::string runBinary(const std::string& arguments) {
  ::setenv("LOAD", RAMGRAFT_LOAD_BINARY, 1);
  int status = 0;
  const std::string text =
      outputOf([&] { status = std::system(("\"$LOAD\" " + arguments).c_str()); });
  return text + std::to_string(WEXITSTATUS(status));
}

TEST(Load, WritesAsAskedAndNowhereElse) {
  writeDesign();
  ASSERT_EQ(load({"-o", "right.bit", "--quiet", "design.toml", "in.bit", "fw.elf"}), "0");
  std::string crc = unpackBytes(contentsOf("right.bit"));
  crc[8 + 96 + 72 + 3] ^= 1;
  writeFile("crc.bit", packDigits(crc));
  crc[8 + 96] ^= 1;
  writeFile("ninth.bit", packDigits(crc));
  writeFile("a b$#.bin", "0123456789");
  const std::string quiet = " --quiet design.toml in.bit fw.elf";
  const std::pair<std::string, const char*> rows[] = {
      {"-o design.toml" + quiet,
       "ERROR: can't write file design.toml: it is an input (design.toml)\n2"},
      {"-o rom1.wid" + quiet, "ERROR: can't write file rom1.wid: it is an input (rom1.wid)\n2"},
      {"-o fw.elf" + quiet, "ERROR: can't write file fw.elf: it is an input (fw.elf)\n2"},
      {"-o same.bit --depfile same.bit" + quiet, "ERROR: --depfile and -o name the same file\n2"},
      {"-o same.bit --depfile in.bit" + quiet,
       "ERROR: can't write file in.bit: it is an input (in.bit)\n2"},
      {"-o same.bit --depfile no/dep" + quiet,
       "ERROR: can't write file no/dep: No such file or directory\n2"},
      {"-o no/same.bit" + quiet,
       "ERROR: can't write file no/same.bit: No such file or directory\n2"},
      {"-o - --json" + quiet,
       "{\"version\": 1, \"error\": \"-o - and --json both use standard output; ramgraft-load "
       "--help explains\"}\nERROR: -o - and --json both use standard output; ramgraft-load --help "
       "explains\n2"},
      {"-o - --depfile dep" + quiet,
       "ERROR: --depfile needs an output file; ramgraft-load --help explains\n2"},
      {"-o - --if-changed" + quiet,
       "ERROR: --if-changed needs an output file; ramgraft-load --help explains\n2"},
      {"-o x --check" + quiet,
       "ERROR: -o and --check exclude each other; ramgraft-load --help explains\n2"},
      {"--json" + quiet,
       "{\"version\": 1, \"error\": \"-o OUT.bit or --check is required; ramgraft-load --help "
       "explains\"}\nERROR: -o OUT.bit or --check is required; ramgraft-load --help explains\n2"},
      {"-o - 2>&1 >piped.bit" + quiet + "; cmp piped.bit right.bit", "0"},
      {"-o - " + quiet + " >/dev/full",
       "ERROR: can't write file /dev/stdout: No space left on device\n2"},
      {"--check design.toml right.bit - <fw.elf",
       "rom   0x00001000..0x0000101F   12 of 32 bytes (37.5 %)   -\nram   0x20000000..0x2000001F   "
       "unchanged\nodd                            unchanged\nrom: 0 of 32 bytes differ\nsame\n0"},
      {"--check design.toml right.bit ram=- <fw.elf 2>&1 | head -n 1",
       "ERROR: -: its byte order is little, that of ram (design.toml, line 7) isn't; "
       "--any-byte-order takes it as it is\n0"},
      {"--check design.toml crc.bit fw.elf",
       "WARNING: wid 000000001: the CRC of the old contents is 0xC352, should be 0xD352: the "
       "bitstream may be damaged, or the wid file may not fit it\nrom   0x00001000..0x0000101F   "
       "12 of 32 bytes (37.5 %)   fw.elf\nram   0x20000000..0x2000001F   unchanged\nodd            "
       "                unchanged\nrom: 0 of 32 bytes differ, but 1 CRC differs\nnot the same\n1"},
      {"--check design.toml ninth.bit fw.elf",
       "WARNING: wid 000000001: the CRC of the old contents is 0xC352, should be 0x635B: the "
       "bitstream may be damaged, or the wid file may not fit it\nrom   0x00001000..0x0000101F   "
       "12 of 32 bytes (37.5 %)   fw.elf\nram   0x20000000..0x2000001F   unchanged\nodd            "
       "                unchanged\nrom: 0 of 32 bytes differ, but 1 EBR has ninth bits or contents "
       "after the last word\nnot the same\n1"},
      {"--check --json design.toml in.bit ram=ten.bin odd=words.mem",
       "rom   0x00001000..0x0000101F   unchanged\nram   0x20000000..0x2000001F   10 of 32 bytes "
       "(31.3 %)   ten.bin\nodd                            6 of 8 bytes (75.0 %)     "
       "words.mem\nram: 32 of 32 bytes differ\n  0x20000000: expected 30, found 86\n  0x20000001: "
       "expected 31, found 06\n  0x20000002: expected 32, found FA\n  0x20000003: expected 33, "
       "found 7A\n  0x20000004: expected 34, found 86\n  0x20000005: expected 35, found 06\n  "
       "0x20000006: expected 36, found FA\n  0x20000007: expected 37, found 7A\n  0x20000008: "
       "expected 38, found 86\n  0x20000009: expected 39, found 06\n  ... and 22 more\nodd: 4 of 4 "
       "words differ\n  odd word 0: expected 03FF, found 0119\n  odd word 1: expected 0001, found "
       "0064\n  odd word 2: expected 0000, found 0191\n  odd word 3: expected 002A, found "
       "0246\nnot the same\n{\"version\": 1, \"memories\": [{\"name\": \"rom\", \"base\": "
       "\"0x00001000\", \"bytes\": 32, \"loaded\": 0, \"touched\": false, \"files\": []}, "
       "{\"name\": \"ram\", \"base\": \"0x20000000\", \"bytes\": 32, \"loaded\": 10, \"touched\": "
       "true, \"files\": [\"ten.bin\"]}, {\"name\": \"odd\", \"base\": null, \"bytes\": 8, "
       "\"loaded\": 6, \"touched\": true, \"files\": [\"words.mem\"]}], \"files\": [{\"file\": "
       "\"ten.bin\", \"format\": \"bin\", \"ranges\": [{\"address\": \"0x20000000\", \"bytes\": "
       "10, \"memory\": \"ram\"}]}, {\"file\": \"words.mem\", \"format\": \"mem\", \"ranges\": "
       "[{\"address\": \"odd word 0\", \"bytes\": 4, \"memory\": \"odd\"}, {\"address\": \"odd "
       "word 3\", \"bytes\": 2, \"memory\": \"odd\"}]}], \"sets\": [], \"outside\": [{\"name\": "
       "\"flash\", \"base\": \"0x30000000\", \"skipped\": 0, \"files\": []}], \"same\": false, "
       "\"differences\": [{\"memory\": \"ram\", \"address\": \"0x20000000\", \"expected\": "
       "\"30313233343536373839CCDDAABBCCDDAABBCCDDAABBCCDDAABBCCDDAABBCCDD\", \"found\": "
       "\"8606FA7A8606FA7A8606FA7A8606FA7A8606FA7A8606FA7A8606FA7A8606FA7A\"}, {\"memory\": "
       "\"odd\", \"address\": \"odd word 0\", \"expected\": \"03FF00010000002A\", \"found\": "
       "\"0119006401910246\"}], \"changedPayloads\": 5, \"changedCrcs\": 0, \"warnings\": []}\n1"},
      {"--check --quiet design.toml in.bit rom=/dev/zero",
       "ERROR: can't read file /dev/zero: it has more than 1073741824 bytes\n2"},
      {"--check --quiet design.toml in.bit fw.elf rom=/dev/stdin 2>&1 <fw.elf | cat; "
       "cat fw.elf "
       "| \"$LOAD\" --check --quiet design.toml in.bit - --symbols /dev/stdin",
       "ERROR: /dev/stdin: .text begins 4064 bytes past the end of rom (design.toml, line "
       "2)\nERROR: "
       "/dev/stdin: a pipe that has been read can't be read again\n2"},
      {"--check --quiet design.toml in.bit 'no\n\x7F.elf'",
       "ERROR: can't open file no\\x0A\\x7F.elf: No such file or directory\n2"},
      {"--check --quiet design.toml no.bit fw.elf",
       "ERROR: can't open file no.bit: No such file or directory\n2"},
      {"--check --quiet no.toml in.bit fw.elf",
       "ERROR: can't open file no.toml: No such file or directory\n2"},
      {"-o right.bit --if-changed --depfile dep --symbols fw.elf" + quiet +
           " 'ram=bin:a b$#.bin' && cat dep; cmp right.bit in.bit",
       "right.bit: \\\n  in.bit \\\n  design.toml \\\n  rom0.wid \\\n  rom1.wid \\\n  ram.wid \\\n "
       " odd.wid \\\n  fw.elf \\\n  a\\ b$$\\#.bin\nright.bit in.bit differ: byte 14, line 1\n1"},
      {"-o in.bit --quiet design.toml in.bit fw.elf && cmp in.bit piped.bit", "0"},
  };
  for (const auto& [arguments, said] : rows) EXPECT_EQ(runBinary(arguments), said) << arguments;

  struct stat after {};
  const timespec old[] = {{1, 0}, {1, 0}};
  ASSERT_EQ(::utimensat(AT_FDCWD, "in.bit", old, 0), 0);
  EXPECT_EQ(runBinary("-o in.bit --if-changed" + quiet), "0");
  ASSERT_EQ(::stat("in.bit", &after), 0);
  EXPECT_EQ(after.st_mtim.tv_sec, 1);
  EXPECT_EQ(runBinary("-o in.bit" + quiet), "0");
  ASSERT_EQ(::stat("in.bit", &after), 0);
  EXPECT_NE(after.st_mtim.tv_sec, 1);
}

}  // namespace
