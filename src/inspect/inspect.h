// ramgraft-inspect: see what a bitstream contains, take contents out, verify, compare, locate,
// dump, report them.
#ifndef RAMGRAFT_INSPECT_INSPECT_H
#define RAMGRAFT_INSPECT_INSPECT_H

/// Runs `ramgraft-inspect SUBCOMMAND ...` with the arguments of main(). Returns the exit status.
int runInspect(int argc, const char* const argv[]);

#endif
