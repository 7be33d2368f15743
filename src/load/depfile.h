// The dependencies of an output, for make.
#ifndef RAMGRAFT_LOAD_DEPFILE_H
#define RAMGRAFT_LOAD_DEPFILE_H

#include <string>
#include <vector>

/// The rule by which `output` depends on `inputs`, as make, Ninja and CMake read it. Empty if one
/// of the names has a character that such a rule can't have: a line end, ';', '=' or '|', or a
/// backslash at its end.
std::string spellRule(const std::string& output, const std::vector<std::string>& inputs);

#endif
