// `list`: the EBRs that a bitstream contains.
#ifndef RAMGRAFT_INSPECT_LIST_H
#define RAMGRAFT_INSPECT_LIST_H

#include "inspect/commandline.h"
#include "inspect/status.h"

ExitStatus runList(const CommandLine& commandLine);

#endif
