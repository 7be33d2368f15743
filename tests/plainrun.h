// The yardstick of the random tests and the fuzzers: a run put together from the public operations
// as plainly as can be. It scans the stream afresh for every wid, bit by bit into a list, goes by
// way of physical lines, and spells those itself to check them.
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
};

using BitRanges = std::vector<std::pair<std::size_t, std::size_t>>;  ///< [begin, end) in bits

/// Does the run on the files of that name in the working folder. `written` receives the payload and
/// CRC fields of the EBRs replaced.
RunResult runPlainly(BitRanges& written);

#endif
