// `extract`: the memory file whose graft gives the contents that a bitstream has.
#ifndef RAMGRAFT_INSPECT_EXTRACT_H
#define RAMGRAFT_INSPECT_EXTRACT_H

#include "inspect/commandline.h"
#include "inspect/status.h"

ExitStatus runExtract(const CommandLine& commandLine);

#endif
