// The public interface, together with ramgraftbstream.h, ramgraftutil.h and ramgrafttraverse.h: a
// run of the tool, on files or in memory, the self-check, and operations on files and EBRs. Names,
// types and effects stay.
#ifndef RAMGRAFT_RUN_RAMGRAFT_H
#define RAMGRAFT_RUN_RAMGRAFT_H

#include "run/ramgraftmemory.h"       // IWYU pragma: export
#include "selfcheck/ramgraftcheck.h"  // IWYU pragma: export
#include "steps/ramgraftebr.h"        // IWYU pragma: export
#include "steps/ramgraftfiles.h"      // IWYU pragma: export

/// Runs `ramgraft <input_file.bit> <file.wid> <file.mem> <output_file.bit>`, or the self-check when
/// the first three arguments are "TEST". `argc` and `argv` are those of main(). Returns the exit
/// status: 0 after success and after the self-check; 1 after any failure, the reason having been
/// printed on standard output. The output file changes only if everything succeeded. Prepares the
/// process first (prepareProcess()): descriptors 0 to 2 that are closed get filled, and SIGPIPE and
/// SIGXFSZ are ignored from then on.
int runRamgraft(int argc, const char* const argv[]);

#endif
