// The texts of what a run reports, each in one place.
#ifndef RAMGRAFT_STEPS_MESSAGES_H
#define RAMGRAFT_STEPS_MESSAGES_H

#include <cstdint>
#include <string>

#include "base/ramgraftbstream.h"
#include "ebr/command.h"
#include "files/replace.h"
#include "inputs/loading.h"

/// Prints the ERROR line for a character that is not hexadecimal.
void printNotHexadecimal(char character);

/// Prints the ERROR lines for a fault in an input file, and on standard error what they don't say.
void printInputFault(const InputFault& fault);

/// Prints the ERROR line for a width line that parseWidthLine() refused with `kind`.
void printWidthLineFault(InputFault::Kind kind);

/// Prints a WARNING line for each thing in a memory file, of the name `memFile`, that is probably a
/// mistake. `inputs` must have the memory words.
void printMemoryWarnings(const MemoryInputs& inputs, const std::string& memFile);

/// Prints the ERROR line for a data section's fault, one of DataHeader; `index` is the bit index of
/// the field that is missing.
void printDataFault(CommandFault fault, std::uint64_t index);

/// Prints the ERROR line for a payload of `frameCount` frames at bit `index` for which the stream
/// is too short.
void printNoRoomForPayload(const Bitstream& bitstream, std::uint64_t index,
                           std::uint64_t frameCount);

/// Prints the lines that report what became of an output file, without any memory.
void printWritten(const std::string& fileName, const ReplaceResult& result);

#endif
