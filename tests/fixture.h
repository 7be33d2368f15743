// What the tests and the fuzzers share: verbs that build and damage streams, and runs of the tool.
#ifndef FIXTURE_H
#define FIXTURE_H

#include <cstdint>
#include <functional>
#include <random>
#include <string>

#include "plainrun.h"
#include "ramgraftbstream.h"

/// Appends digits ("01"; blanks are left out) or whole bytes to a stream.
void pushDigits(Bitstream& bitstream, const std::string& digits);
void pushBytes(Bitstream& bitstream, const std::string& bytes);
/// The stream's bits as digits.
std::string digitsOf(const Bitstream& bitstream);
/// The low `count` bits of `value`, most significant first.
std::string digits(std::uint64_t value, unsigned count);
/// The digits as bytes, filled up with 1 bits.
std::string packDigits(std::string digits);
/// An EBR's commands: address section, data section, `frames` frames of `payload` digits (repeated)
/// and the CRC field, all as digits.
std::string ebrDigits(const std::string& identifier, unsigned frames, const std::string& payload,
                      unsigned crc = 0);

/// Runs the tool in this process on files of a folder of its own, in memory where possible.
RunResult runTool(const RunFiles& files);
/// What the tool and the yardstick leave differs: a text that says how. Empty when all is well,
/// also outside the fields that may change.
std::string compareRuns(const RunFiles& files);
/// A run full of false, overlapping and unaligned sections, repeated and missing wids, and words
/// that spell sections when they are written.
RunFiles randomRun(std::mt19937_64& random);

/// What `action` writes to standard output, or another descriptor.
std::string outputOf(const std::function<void()>& action, int descriptor = 1);

#endif
