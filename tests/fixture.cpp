#include "fixture.h"

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "ramgraft.h"

namespace {

// Sends a descriptor's writes to memory for as long as it lives.
class Capture {
 public:
  explicit Capture(int captured)
      : descriptor(captured), saved(::dup(captured)), memory(::memfd_create("capture", 0)) {
    std::fflush(nullptr);  // what the test runner has not written yet
    ::dup2(memory, descriptor);
  }
  ~Capture() { end(); }
  Capture(const Capture&) = delete;
  Capture& operator=(const Capture&) = delete;

  std::string end() {
    if (saved < 0) return "";
    ::dup2(saved, descriptor);
    ::close(saved);
    saved = -1;
    std::string text(static_cast<std::size_t>(::lseek(memory, 0, SEEK_END)), '\0');
    if (::pread(memory, text.data(), text.size(), 0) < 0) std::abort();
    ::close(memory);
    return text;
  }

 private:
  int descriptor, saved, memory;
};

std::string folder() {
  static const std::string made = [] {
    std::string name = ::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    name += "/ramgraft-test-XXXXXX";
    if (::mkdtemp(name.data()) == nullptr || ::chdir(name.c_str()) != 0) std::abort();
    std::atexit([] { static_cast<void>(!std::system("rm -rf \"$PWD\"")); });
    return name;
  }();
  return made;
}

void store(const char* name, const std::string& bytes) {
  std::ofstream(name, std::ios::binary) << bytes;
}

std::string load(const char* name) {
  std::ifstream file(name, std::ios::binary);
  std::ostringstream bytes;
  bytes << file.rdbuf();
  return bytes.str();
}

}  // namespace

void pushDigits(Bitstream& bitstream, const std::string& digits) {
  for (const char digit : digits) {
    if (digit != ' ') bitstream.pushBit(digit == '1');
  }
}

void pushBytes(Bitstream& bitstream, const std::string& bytes) {
  for (const char byte : bytes) bitstream.pushByte(static_cast<unsigned char>(byte));
}

std::string digitsOf(const Bitstream& bitstream) {
  std::string text;
  for (unsigned long i = 0; i < bitstream.getNumBits(); ++i)
    text += bitstream.getBit(i) ? '1' : '0';
  return text;
}

std::string digits(std::uint64_t value, unsigned count) {
  std::string text;
  while (count-- > 0) text += (value >> count & 1) != 0 ? '1' : '0';
  return text;
}

std::string packDigits(std::string digits) {
  digits.resize((digits.size() + 7) / 8 * 8, '1');
  std::string bytes;
  for (std::size_t i = 0; i < digits.size(); i += 8) {
    bytes += static_cast<char>(std::strtoul(digits.substr(i, 8).c_str(), nullptr, 2));
  }
  return bytes;
}

std::string ebrDigits(const std::string& identifier, unsigned frames, const std::string& payload,
                      unsigned crc) {
  std::string bits = digits(0xF6, 8) + std::string(36, '0') + identifier + digits(0, 11) +
                     digits(0xB2D0, 16) + digits(frames, 16);
  for (unsigned i = 0; i < frames * 72; ++i) bits += payload[i % payload.size()];
  return bits + digits(crc, 16);
}

RunResult runTool(const RunFiles& files) {
  folder();
  store("in.bit", files.bit);
  store("ram.wid", files.wid);
  store("words.mem", files.mem);
  static_cast<void>(std::remove("out.bit"));
  RunResult result;
  Capture out(STDOUT_FILENO), err(STDERR_FILENO);
  const std::array<const char*, 5> arguments = {"ramgraft", "in.bit", "ram.wid", "words.mem",
                                                "out.bit"};
  result.status = runRamgraft(static_cast<int>(arguments.size()), arguments.data());
  result.out = out.end();
  result.err = err.end();
  result.bytes = load("out.bit");
  return result;
}

std::string compareRuns(const RunFiles& files) {
  BitRanges written;
  const RunResult actual = runTool(files);  // leaves the files for the plain run
  const RunResult expected = runPlainly(written);
  const auto show = [](const RunResult& run) {
    return std::to_string(run.status) + "\n" + run.out;
  };
  if (show(expected) != show(actual)) return show(expected) + "--- but the tool:\n" + show(actual);
  // The public operations don't warn of what they write.
  if (actual.err.rfind(expected.err, 0) != 0) return "other warnings: " + actual.err;
  if (expected.bytes != actual.bytes) return "other contents";
  if (actual.status != 0) return "";
  std::string rest = actual.bytes;
  for (const auto& [begin, end] : written) {
    for (std::size_t i = begin; i < end; ++i) {
      const int mask = 0x80 >> i % 8;
      rest[i / 8] = static_cast<char>((rest[i / 8] & ~mask) | (files.bit[i / 8] & mask));
    }
  }
  return rest == files.bit ? "" : "a bit outside the listed EBRs changed";
}

RunFiles randomRun(std::mt19937_64& random) {
  const auto below = [&](std::uint64_t n) { return random() % n; };
  const auto pick = [&](const std::vector<std::string>& from) { return from[below(from.size())]; };
  const auto width = static_cast<unsigned>(1 + below(16));
  // Identifiers that payload words can spell begin with the words' leading 0; opcode beginnings
  // make sections overlap.
  std::vector<std::string> pool = {digits(random(), width), digits(0, width),
                                   digits(below(256), 9) + digits(0, 7),
                                   digits(0xF600U >> below(8), 16)};
  for (std::string& identifier : pool) identifier.resize(width);

  std::string stream;
  for (std::uint64_t pieces = 1 + below(12); pieces > 0; --pieces) {
    const std::string address = digits(0xF6, 8) + std::string(36 - below(12) / 11, '0');
    const std::vector<std::string> kinds = {
        ebrDigits(pick(pool), static_cast<unsigned>(below(4)), digits(random(), 64),
                  0x1234 * (random() & 1)),
        ebrDigits(pick(pool), 1 + static_cast<unsigned>(below(2)), "0"),
        ebrDigits(pick(pool), 2, digits(0xF6, 9) + std::string(36, '0') + digits(random(), 18)),
        address + pick(pool),
        address + address.substr(0, below(44)),
        digits(random(), 20),
        std::string(below(60), '0')};
    stream += pick(kinds).substr(0, below(25) == 0 ? 40 + below(90) : std::string::npos);
  }

  RunFiles files;
  files.bit = packDigits(stream);
  const std::uint64_t numEbrs = 1 + below(5);
  const std::uint64_t groupBits = std::vector<std::uint64_t>{1, 2, 4, 8, 8, 16, 60, 64}[below(8)];
  for (std::uint64_t i = 0; i < numEbrs; ++i) files.wid += "0b" + pick(pool) + "\n";
  files.wid += "aw" + std::to_string(below(6)) + ";dw" + std::to_string(numEbrs * groupBits);
  // 6F is the byte F6 before its bits are reversed.
  const std::vector<std::string> bytes = {"6F", "6F", "00", "00", "00",
                                          "00", "00", "a5", "B",  "FF"};
  for (std::uint64_t words = below(30); words > 0; --words) {
    const bool isUsual = below(20) != 0;
    const std::uint64_t size =
        isUsual ? std::max<std::uint64_t>(1, numEbrs * groupBits / 8) : below(7);
    for (std::uint64_t i = 0; i < size; ++i) {
      const std::string byte = pick(bytes);
      files.mem += byte.size() == 2 || i == 0 ? byte : "00";
    }
    files.mem += '\n';
  }
  return files;
}

std::string outputOf(const std::function<void()>& action, int descriptor) {
  Capture out(descriptor);
  action();
  return out.end();
}
