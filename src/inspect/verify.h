// `verify`: whether a bitstream contains what a run would write into it.
#ifndef RAMGRAFT_INSPECT_VERIFY_H
#define RAMGRAFT_INSPECT_VERIFY_H

#include "inspect/commandline.h"
#include "inspect/status.h"

ExitStatus runVerify(const CommandLine& commandLine);

#endif
