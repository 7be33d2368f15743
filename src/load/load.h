// ramgraft-load: firmware into the memories of a bitstream, in one run.
#ifndef RAMGRAFT_LOAD_LOAD_H
#define RAMGRAFT_LOAD_LOAD_H

/// Runs `ramgraft-load ...` with the arguments of main(). Returns the exit status. The output file
/// changes only if everything succeeded.
int runLoad(int argc, const char* const argv[]);

#endif
