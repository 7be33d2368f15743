#include "fixture.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <bitset>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "run/ramgraft.h"

namespace {

// A folder to work in, and memory for what an action prints. Once this process has ended, in
// whatever way, another one shows what has been printed last and not been looked at, and removes
// the folder.
struct Workplace {
  Workplace() {
    std::string folder = ::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    folder += "/ramgraft-test-XXXXXX";
    require(::mkdtemp(folder.data()) != nullptr && ::chdir(folder.c_str()) == 0);
    int ends[2];
    require(::pipe2(ends, O_CLOEXEC) == 0);
    if (::fork() != 0) return;
    ::setsid();  // signals for the group are not for this one
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, ends[1]}) ::close(descriptor);
    char bytes[4096];
    static_cast<void>(!::read(ends[0], bytes, 1));  // returns when nobody has the other end
    for (ssize_t count, at = 0; (count = ::pread(output, bytes, sizeof bytes, at)) > 0;
         at += count) {
      require(::write(STDERR_FILENO, bytes, static_cast<std::size_t>(count)) >= 0);
    }
    ::execlp("rm", "rm", "-rf", folder.c_str(), nullptr);
    ::_exit(1);
  }

  int output = ::memfd_create("output", MFD_CLOEXEC);
};

const Workplace& workplace() {
  static const Workplace place;
  return place;
}

// A text without the lines that lead on after an error, which say nothing of the run itself.
std::string withoutHints(const std::string& text) {
  std::istringstream lines(text);
  std::string rest;
  for (std::string line; std::getline(lines, line);) {
    const bool isHint =
        line.starts_with("in.bit: ") || line.starts_with("wid ") || line.starts_with("dw");
    if (!isHint) rest += line + (lines.eof() ? "" : "\n");
  }
  return rest;
}

// Where bytes differ.
std::string describeBytes(const std::string& expected, const std::string& actual) {
  const std::string bits = unpackBytes(actual), expectedBits = unpackBytes(expected);
  const auto differing =
      std::mismatch(bits.begin(), bits.end(), expectedBits.begin(), expectedBits.end()).first;
  return "first wrong bit of out.bit: " + std::to_string(differing - bits.begin()) + "\n";
}

}  // namespace

const RunFiles SMALLEST_RUN = {packDigits(digits(0xFF, 8) + ebrDigits("000000101", 1, "0")),
                               "0b000000101\naw1;dw8\n", "5C\nF0\n"};

std::ostream& operator<<(std::ostream& out, Outcome outcome) {
  const char* const NAMES[] = {"FOUND", "NO_SECTION", "RAN_OFF_END"};
  return out << NAMES[static_cast<int>(outcome)];
}

void require(bool holds, const char* file, int line) {
  if (holds) return;
  std::fprintf(stderr, "%s:%d: this doesn't hold\n", file, line);
  std::abort();
}

void pushDigits(Bitstream& bitstream, const std::string& digits) {
  for (const char digit : digits) bitstream.pushBit(digit == '1');
}

void overwriteBits(Bitstream& bitstream, std::size_t index, const std::string& digits) {
  bitstream.overwriteBits(index, dataOf(packDigits(digits)), digits.size());
}

std::string digitsOf(const Bitstream& bitstream) {
  const auto* const bytes = reinterpret_cast<const char*>(bitstream.getBytes());
  const std::size_t numBits = bitstream.getNumBits();
  return unpackBytes({bytes, (numBits + 7) / 8}).substr(0, numBits);
}

std::string digitsOf(const std::list<bool>& bits) {
  std::string text;
  for (const bool bit : bits) text += bit ? '1' : '0';
  return text;
}

std::string digits(std::uint64_t value, std::size_t count) {
  return std::bitset<64>(value).to_string().substr(64 - count);
}

std::string unpackBytes(const std::string& bytes) {
  std::string text(bytes.size() * 8, '0');
  for (std::size_t i = 0; i < text.size(); ++i) text[i] = "01"[bytes[i / 8] >> (7 - i % 8) & 1];
  return text;
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

std::string contentsOf(const char* fileName) {
  std::ifstream file(fileName, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string outputOf(const std::function<void()>& action) {
  const int output = workplace().output;
  std::fflush(nullptr);  // what the test runner has not written yet
  const int out = ::dup(STDOUT_FILENO), err = ::dup(STDERR_FILENO);
  ::dup2(output, STDOUT_FILENO);
  ::dup2(output, STDERR_FILENO);
  action();
  ::dup2(out, STDOUT_FILENO);
  ::dup2(err, STDERR_FILENO);
  ::close(out);
  ::close(err);
  std::string text(static_cast<std::size_t>(::lseek(output, 0, SEEK_CUR)), '\0');
  require(::pread(output, text.data(), text.size(), 0) >= 0);
  require(::ftruncate(output, 0) == 0 && ::lseek(output, 0, SEEK_SET) == 0);
  return text;
}

std::vector<Case> readCases(const std::string& name) {
  std::ifstream file(std::string(RAMGRAFT_TESTS "/") + name);
  std::vector<Case> cases;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("$ ")) {
      cases.push_back({line.substr(2), ""});
    } else {
      cases.back().expected += (cases.back().expected.empty() ? "" : "\n") + line;
    }
  }
  require(!cases.empty());
  return cases;
}

std::string runCommand(const std::string& command) {
  // The system's messages differ from language to language.
  static const bool isSet =
      ::setenv("PATH", RAMGRAFT_PROGRAMS ":/usr/local/bin:/usr/bin:/bin", 1) == 0 &&
      ::setenv("LC_ALL", "C", 1) == 0;
  require(isSet);
  int status = 0;
  const std::string text = outputOf([&] { status = std::system(command.c_str()); });
  return text + std::to_string(WEXITSTATUS(status));
}

RunResult runTool(const RunFiles& files) {
  workplace();
  std::ofstream("in.bit", std::ios::binary) << files.bit;
  std::ofstream("ram.wid", std::ios::binary) << files.wid;
  std::ofstream("words.mem", std::ios::binary) << files.mem;
  ::unlink("out.bit");
  const char* const arguments[] = {"ramgraft", "in.bit", "ram.wid", "words.mem", "out.bit"};
  int status = 0;
  RunResult result = {outputOf([&] { status = runRamgraft(5, arguments); }), ""};
  result.text += std::to_string(status);
  result.bytes = contentsOf("out.bit");
  return result;
}

std::string compareRuns(const RunFiles& files) {
  RunResult actual = runTool(files);  // leaves the files for the plain run
  actual.text = withoutHints(actual.text);
  const RunResult expected = runPlainly();
  std::string difference;
  if (expected.bytes != actual.bytes) difference += describeBytes(expected.bytes, actual.bytes);
  if (expected.text != actual.text) {
    difference += "said:\n" + actual.text + "\ninstead of:\n" + expected.text + "\n";
  }
  return difference;
}
