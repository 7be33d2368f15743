// What the tests and the fuzzers share: verbs that build streams, runs of the tool, and the
// yardstick that these runs are held against.
#ifndef FIXTURE_H
#define FIXTURE_H

#include <cstdint>
#include <functional>
#include <list>
#include <random>
#include <string>
#include <vector>

#include "base/ramgraftbstream.h"
#include "ebr/chain.h"

using Outcome = SectionChain::Outcome;
std::ostream& operator<<(std::ostream& out, Outcome outcome);

/// The contents of a run's three input files. Their names are in.bit, ram.wid and words.mem.
struct RunFiles {
  std::string bit, wid, mem;
};

/// A run that succeeds: a byte, then one EBR of one frame, which gets the bytes 5C and F0.
extern const RunFiles SMALLEST_RUN;

/// All that a run leaves.
struct RunResult {
  std::string text;   ///< what it prints, and its exit status as the last line
  std::string bytes;  ///< of out.bit; none when the run failed
};

/// Reports the line of the caller and ends the process unless the condition holds.
void require(bool holds, const char* file = __builtin_FILE(), int line = __builtin_LINE());

/// Appends digits ("01") to a stream.
void pushDigits(Bitstream& bitstream, const std::string& digits);
/// Overwrites a stream's bits from bit `index` on with digits.
void overwriteBits(Bitstream& bitstream, std::size_t index, const std::string& digits);
/// The bits as digits.
std::string digitsOf(const Bitstream& bitstream);
std::string digitsOf(const std::list<bool>& bits);
/// The low `count` (at most 64) bits of `value`, most significant first.
std::string digits(std::uint64_t value, std::size_t count);
/// The bits of bytes as digits.
std::string unpackBytes(const std::string& bytes);
inline const unsigned char* dataOf(const std::string& bytes) {
  return reinterpret_cast<const unsigned char*>(bytes.data());
}
/// The digits as bytes, filled up with 1 bits.
std::string packDigits(std::string digits);
/// An EBR's command: address section, data section, `frames` frames of `payload` digits (repeated)
/// and a CRC field, all as digits.
std::string ebrDigits(const std::string& identifier, unsigned frames, const std::string& payload,
                      unsigned crc = 0);

/// The bytes of a file.
std::string contentsOf(const char* fileName);
/// What `action` writes to standard output and standard error.
std::string outputOf(const std::function<void()>& action);

/// A command and what it must print and return.
struct Case {
  std::string command, expected;
};
/// The cases of a file of this folder: commands after "$ ", each followed by what it prints, with
/// standard error, and by its status.
std::vector<Case> readCases(const std::string& name);
/// Runs a command of the shell, which finds the real binaries. What it prints, then its status.
std::string runCommand(const std::string& command);

/// Runs the tool in this process on files of a folder of its own, in memory where possible.
RunResult runTool(const RunFiles& files);
/// How the tool's run differs from a plain run: its first wrong bit, or what it says. Empty when
/// they don't differ.
std::string compareRuns(const RunFiles& files);

// ---- plainrun.cpp ----

/// Does a run on the files in the working folder as plainly as can be.
RunResult runPlainly();
/// Moves `at` past the zero bits of the first section at or after it. False when there is none.
bool findSection(const std::string& stream, std::size_t& at);
/// Finds the first section at or after bit `at` whose identifier of `width` bits equals the wid,
/// and moves `at` past that identifier.
Outcome findAfresh(const std::string& stream, const std::string& wid, std::size_t width,
                   std::size_t& at);
/// The CRC field after the `numBits` bits of `stream` before bit `end`, bit by bit.
std::string spellCrc(const std::string& stream, std::size_t end, int numBits);

// ---- randomrun.cpp ----

/// A run full of false, overlapping and unaligned sections, repeated and missing wids, and words
/// that spell sections when they are written; or one of EBRs that are all there, up to 139 of them;
/// or one of words and payload about as long as a physical line, or much shorter.
RunFiles randomRun(std::mt19937_64& random);
/// One of EBRs that are all there, whose contents, before or after, spell addresses of each other.
RunFiles spellingRun(std::mt19937_64& random);

/// A run's files as one fuzzer's input: width file, NUL, memory file, NUL, bitstream.
std::string joinRun(const RunFiles& files);
/// Takes such an input apart. False if it isn't one.
bool splitRun(const std::uint8_t* data, std::size_t size, RunFiles& files);

// ---- A fuzz target ----

/// Runs the code under test on one input, and ends the process when it does wrong.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
/// A good input for it to start from.
std::string makeSeed(std::mt19937_64& random);

#endif
