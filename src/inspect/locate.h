// `locate`: the width file of a memory whose contents are known.
#ifndef RAMGRAFT_INSPECT_LOCATE_H
#define RAMGRAFT_INSPECT_LOCATE_H

#include "inspect/commandline.h"
#include "inspect/status.h"

ExitStatus runLocate(const CommandLine& commandLine);

#endif
