// What is wrong with inputs, in words.
#ifndef RAMGRAFT_LAYOUT_FAULTWORDS_H
#define RAMGRAFT_LAYOUT_FAULTWORDS_H

#include <string>
#include <string_view>

#include "ebr/command.h"
#include "inputs/fault.h"

/// What is wrong with a width file or the map, and where.
std::string sentenceOf(const InputFault& fault);

/// What is missing from a command.
std::string_view sentenceOf(CommandFault fault);

/// Text from a file, fit for a terminal, and not too long.
std::string shown(std::string_view text);

#endif
