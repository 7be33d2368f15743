// The driver: one run of the tool, from its arguments to its exit status.
#ifndef RAMGRAFT_RUN_RAMGRAFT_H
#define RAMGRAFT_RUN_RAMGRAFT_H

/// Runs `ramgraft <input_file.bit> <file.wid> <file.mem> <output_file.bit>`, or the self-check when
/// the first three arguments are "TEST". `argc` and `argv` are those of main(). Returns the exit
/// status: 0 after success and after the self-check, 1 after any failure, which has then been told
/// on standard output. The output file changes only when everything succeeded.
int runRamgraft(int argc, const char* const argv[]);

#endif
