// What is wrong with input files, in words.
#ifndef RAMGRAFT_REPORTS_INPUTS_H
#define RAMGRAFT_REPORTS_INPUTS_H

#include <string>
#include <vector>

#include "inputs/loading.h"

/// What is wrong with an input file, and where: one sentence that names the file.
std::string textOf(const InputFault& fault);

/// The fixed line with which ramgraft reports this kind of fault, without "ERROR: ". It doesn't say
/// where the fault is. Empty for a kind that has none.
std::string headOf(const InputFault& fault);

/// What ramgraft reports after the fixed line, or instead of it. Empty if that line says it all.
std::string detailOf(const InputFault& fault);

/// What leads on after a fault: what the file is, if it isn't the text that it should be. Empty if
/// there is nothing to say.
std::string hintOf(const InputFault& fault);

/// A sentence for each thing in the width and memory files that is probably a mistake. `inputs`
/// must have the memory words.
std::vector<std::string> warningsOf(const MemoryInputs& inputs);

#endif
