// Runs of ramgraft-inspect in this process, for its tests and its fuzzer.
#ifndef INSPECTED_H
#define INSPECTED_H

#include <string>
#include <vector>

#include "fixture.h"

/// Runs ramgraft-inspect in the folder that runTool() has made. All that it prints, then its
/// status.
std::string inspect(std::vector<const char*> arguments);
/// Hexadecimal digits as binary ones.
std::string digitsOfHex(const std::string& text);
/// Runs all subcommands on the files of a run and on its output. The first promise that isn't kept;
/// empty when all are.
std::string brokenLaw(const RunFiles& files);

#endif
