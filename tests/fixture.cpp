#include "fixture.h"

#include <sys/mman.h>
#include <unistd.h>

#include <bitset>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "run/ramgraft.h"

namespace {

// Makes a folder the working folder, and sees to its removal.
bool enterFolder() {
  std::string name = ::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
  name += "/ramgraft-test-XXXXXX";
  require(::mkdtemp(name.data()) != nullptr && ::chdir(name.c_str()) == 0);
  return std::atexit([] { static_cast<void>(!std::system("rm -rf \"$PWD\"")); }) == 0;
}

}  // namespace

void require(bool holds) {
  if (!holds) std::abort();
}

void pushDigits(Bitstream& bitstream, const std::string& digits) {
  for (const char digit : digits) bitstream.pushBit(digit == '1');
}

std::string digitsOf(const Bitstream& bitstream) {
  std::string text(bitstream.getNumBits(), '0');
  for (std::size_t i = 0; i < text.size(); ++i) text[i] = bitstream.getBit(i) ? '1' : '0';
  return text;
}

std::string digitsOf(const std::list<bool>& bits) {
  std::string text;
  for (const bool bit : bits) text += bit ? '1' : '0';
  return text;
}

std::string digits(std::uint64_t value, std::size_t count) {
  return std::bitset<64>(value).to_string().substr(64 - count);
}

std::string packDigits(std::string digits) {
  digits.resize((digits.size() + 7) / 8 * 8, '1');
  std::string bytes;
  for (std::size_t i = 0; i < digits.size(); i += 8) {
    bytes += static_cast<char>(std::bitset<8>(digits, i, 8).to_ulong());
  }
  return bytes;
}

std::string ebrDigits(const std::string& identifier, unsigned frames, const std::string& payload,
                      unsigned crc) {
  std::string bits = digits(0xF6, 8) + digits(0, 36) + identifier + digits(0, 11) +
                     digits(0xB2D0, 16) + digits(frames, 16);
  for (unsigned i = 0; i < frames * 72; ++i) bits += payload[i % payload.size()];
  return bits + digits(crc, 16);
}

std::string outputOf(const std::function<void()>& action) {
  std::fflush(nullptr);  // what the test runner has not written yet
  const int memory = ::memfd_create("output", 0);
  const int out = ::dup(STDOUT_FILENO), err = ::dup(STDERR_FILENO);
  ::dup2(memory, STDOUT_FILENO);
  ::dup2(memory, STDERR_FILENO);
  action();
  ::dup2(out, STDOUT_FILENO);
  ::dup2(err, STDERR_FILENO);
  std::string text(static_cast<std::size_t>(::lseek(memory, 0, SEEK_END)), '\0');
  require(::pread(memory, text.data(), text.size(), 0) >= 0);
  for (const int descriptor : {memory, out, err}) ::close(descriptor);
  return text;
}

RunResult runTool(const RunFiles& files) {
  static const bool isInFolder = enterFolder();
  require(isInFolder);
  std::ofstream("in.bit", std::ios::binary) << files.bit;
  std::ofstream("ram.wid", std::ios::binary) << files.wid;
  std::ofstream("words.mem", std::ios::binary) << files.mem;
  ::unlink("out.bit");
  const char* const arguments[] = {"ramgraft", "in.bit", "ram.wid", "words.mem", "out.bit"};
  int status = 0;
  RunResult result = {outputOf([&] { status = runRamgraft(5, arguments); }), ""};
  result.text += std::to_string(status);
  std::ifstream output("out.bit", std::ios::binary);
  result.bytes.assign(std::istreambuf_iterator<char>(output), {});
  return result;
}

std::string compareRuns(const RunFiles& files) {
  const RunResult actual = runTool(files);  // leaves the files for the plain run
  const RunResult expected = runPlainly();
  if (expected.text != actual.text) return expected.text + " but the tool: " + actual.text;
  return expected.bytes == actual.bytes ? "" : "other contents";
}

RunFiles randomRun(std::mt19937_64& random) {
  const auto below = [&](std::size_t n) { return static_cast<unsigned>(random() % n); };
  const auto pick = [&](const auto& from) { return from[below(from.size())]; };
  using Texts = std::vector<std::string>;
  using Numbers = std::vector<unsigned>;
  const bool isLong = below(25) == 0, isListed = isLong || below(6) == 0;
  const unsigned width = isListed ? 9 : 1 + below(16);
  // Identifiers that payload words can spell begin with the words' leading 0; opcode beginnings
  // make sections overlap.
  Texts pool = {digits(random(), width), digits(0, width), digits(below(256), 9) + digits(0, 7),
                digits(0xF600U >> below(8), 16)};
  for (std::string& identifier : pool) identifier.resize(width);

  RunFiles files;
  std::string stream = digits(random(), below(9));
  const bool isWide = isListed && below(30) == 0;  // columns are gathered for 64 EBRs at once
  const unsigned numEbrs = isLong ? 1 : isWide ? 60 + below(80) : 1 + below(isListed ? 20 : 5);
  for (unsigned ebr = 0; ebr < numEbrs; ++ebr) {
    const unsigned frames = isLong ? pick(Numbers{0, 1, 819, 820, 1100}) : below(5);
    const std::string wid = isListed ? digits(ebr, width) : pick(pool);
    if (isListed) stream += ebrDigits(wid, frames, "10", below(3));
    files.wid += "0b" + wid + "\n";
  }
  for (unsigned pieces = isListed ? 0 : 1 + below(12); pieces > 0; --pieces) {
    const std::string address = digits(0xF6, 8) + digits(0, 36 - below(12) / 11);
    stream +=
        pick(Texts{ebrDigits(pick(pool), below(4), digits(random(), 64), 0x1234 * below(2)),
                   ebrDigits(pick(pool), 1 + below(2), "0"),
                   ebrDigits(pick(pool), 2, digits(0xF6, 9) + digits(0, 36) + digits(random(), 18)),
                   address + pick(pool), address + address.substr(0, below(44)),
                   digits(random(), 20), digits(0, below(60))})
            .substr(0, below(25) == 0 ? 40 + below(90) : std::string::npos);
  }
  files.bit = packDigits(stream);

  const unsigned groupBits =
      isLong || isWide ? 8 : pick(Numbers{1, 2, 4, 8, 8, 8, 16, 60, 64, 3, 5});
  files.wid += "aw" + std::to_string(below(6)) + ";dw" + std::to_string(numEbrs * groupBits);
  const unsigned usualBytes = isLong ? pick(Numbers{0, 1, 3, 6553, 6557, 8001})
                              : numEbrs * groupBits % 8 == 0 ? numEbrs * groupBits / 8
                                                             : groupBits;
  for (unsigned words = isLong ? 1 : below(30); words > 0; --words) {
    const std::size_t wordBytes = below(20) == 0 && !isListed ? below(7) : usualBytes;
    std::string word = pick(Texts{"", "", "", "B"});
    // 6F is the byte F6 before its bits are reversed. Words of equal bytes make columns of them.
    const std::string first = files.mem.empty() ? "6F" : pick(Texts{"6F", "00", "00", "00", ""});
    const std::string same = isListed ? "" : first;
    while (word.size() + 1 < wordBytes * 2) {
      word += same.empty() ? pick(Texts{"6F", "00", "a5", std::to_string(10 + below(90))}) : same;
    }
    files.mem += word + pick(Texts{"\n", "\n", "\r\n", "\n\r\n#\n/\n"});
  }
  return files;
}
