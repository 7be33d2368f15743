// What the tests and the fuzzers share: verbs that build streams, runs of the tool, and the
// yardstick that these runs are held against.
#ifndef FIXTURE_H
#define FIXTURE_H

#include <cstdint>
#include <functional>
#include <list>
#include <random>
#include <string>

#include "ebr/chain.h"
#include "steps/ramgrafttraverse.h"

using Outcome = SectionChain::Outcome;

/// The contents of a run's three input files. Their names are in.bit, ram.wid and words.mem.
struct RunFiles {
  std::string bit, wid, mem;
};

/// All that a run leaves: what it prints, its exit status as the last line, and the bytes of
/// out.bit, none when the run failed.
struct RunResult {
  std::string text, bytes;
};

/// Ends the process unless the condition holds.
void require(bool holds);

/// Appends digits ("01") to a stream.
void pushDigits(Bitstream& bitstream, const std::string& digits);
/// The bits as digits.
std::string digitsOf(const Bitstream& bitstream);
std::string digitsOf(const std::list<bool>& bits);
/// The low `count` (at most 64) bits of `value`, most significant first.
std::string digits(std::uint64_t value, std::size_t count);
/// The digits as bytes, filled up with 1 bits.
std::string packDigits(std::string digits);
/// An EBR's commands: address section, data section, `frames` frames of `payload` digits (repeated)
/// and a CRC field, all as digits.
std::string ebrDigits(const std::string& identifier, unsigned frames, const std::string& payload,
                      unsigned crc = 0);
/// The CRC field behind the `numBits` bits of `stream` before bit `end`, bit by bit.
std::string spellCrc(const std::string& stream, std::size_t end, int numBits);

/// What `action` writes to standard output and standard error.
std::string outputOf(const std::function<void()>& action);

/// Runs the tool in this process on files of a folder of its own, in memory where possible.
RunResult runTool(const RunFiles& files);
/// Moves the cursor behind the first identifier of `width` bits at or after it that equals the wid,
/// bit by bit. `restart` receives the index of the first identifier passed unless it has one.
Outcome findAfresh(BitstreamTraverser& traverser, const std::string& wid, std::size_t width,
                   std::list<bool>& newBits, std::size_t& restart);
/// Does a run on the files in the working folder as plainly as can be (plainrun.cpp).
RunResult runPlainly();
/// How the two differ; empty when they don't.
std::string compareRuns(const RunFiles& files);
/// A run full of false, overlapping and unaligned sections, repeated and missing wids, and words
/// that spell sections when they are written; or one of EBRs that are all there, up to 139 of them;
/// or one of words and payload about as long as a physical line, or much shorter.
RunFiles randomRun(std::mt19937_64& random);

/// A fuzz target: runs the code under test on one input, and ends the process when it does wrong.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
/// A good input for it to start from.
std::string makeSeed(std::mt19937_64& random);

#endif
