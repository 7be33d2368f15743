// `diff`: in which EBRs two bitstreams differ.
#ifndef RAMGRAFT_INSPECT_DIFF_H
#define RAMGRAFT_INSPECT_DIFF_H

#include "inspect/commandline.h"
#include "inspect/status.h"

ExitStatus runDiff(const CommandLine& commandLine);

#endif
