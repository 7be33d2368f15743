// Opening what a subcommand inspects; what goes wrong is said on standard error.
#ifndef RAMGRAFT_INSPECT_OPENING_H
#define RAMGRAFT_INSPECT_OPENING_H

#include <cstdint>
#include <optional>
#include <string>

#include "base/ramgraftbstream.h"
#include "files/descriptor.h"
#include "inputs/fault.h"
#include "inspect/sections.h"

/// A bitstream file in memory.
struct OpenStream {
  Bitstream bitstream{0};
  FileIdentity identity;
};

/// Prints what is wrong with an input file. Returns true if nothing is.
bool isReadable(const InputFault& fault);

/// Loads a bitstream file. False if that failed.
bool openStream(const std::string& fileName, OpenStream& stream);

/// The sections of the stream, which was loaded from the named file. If `identifierBits` is 0 the
/// width is found and noted on standard error. Nothing if no width gives a section with data, or if
/// the sections' payloads overlap so often that reading them all would take minutes.
std::optional<SectionTable> findSections(const Bitstream& bitstream, const std::string& fileName,
                                         std::uint64_t identifierBits);

#endif
