// The subcommands of ramgraft-inspect, each in the file of its name.
#ifndef RAMGRAFT_INSPECT_SUBCOMMANDS_H
#define RAMGRAFT_INSPECT_SUBCOMMANDS_H

#include "companion/program.h"

extern const Program LIST, EXTRACT, VERIFY, DIFF, RANDOM, LOCATE, DUMP, REPORT;

#endif
