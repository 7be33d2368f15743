// The state that a process should be in before it opens its first file.
#ifndef RAMGRAFT_FILES_PROCESS_H
#define RAMGRAFT_FILES_PROCESS_H

/// Fills those of the descriptors 0, 1 and 2 that are closed, so that no file of the run is opened
/// there and takes in the run's messages; using them stays an error. Ignores SIGPIPE and SIGXFSZ:
/// a closed pipe or a limit on the size of files is then an error of the write, not the end of the
/// process.
void prepareProcess();

#endif
