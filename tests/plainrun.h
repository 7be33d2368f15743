// The yardstick of the random tests and the fuzzers: a whole run, done as plainly as can be. It
// keeps one bool per bit, scans the stream afresh for every wid, spells every column as text, and
// shares no code with the product.
#ifndef PLAINRUN_H
#define PLAINRUN_H

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

/// The contents of a run's three input files. Their names are in.bit, ram.wid and words.mem.
struct RunFiles {
  std::string bit, wid, mem;
};

/// All that a run leaves: exit status, standard output and error, and the bytes of out.bit, empty
/// when the run failed.
struct RunResult {
  int status = 1;
  std::string out, err, bytes;
  friend bool operator==(const RunResult&, const RunResult&) = default;
};

using BitRanges = std::vector<std::pair<std::size_t, std::size_t>>;  ///< [begin, end) in bits

/// Does the run. `written` receives the payload and CRC fields of the EBRs replaced.
RunResult runPlainly(const RunFiles& files, BitRanges& written);

std::vector<bool> toBits(const std::string& bytes);
std::string toBytes(const std::vector<bool>& bits);

#endif
