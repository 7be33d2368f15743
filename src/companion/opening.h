// Opening the files that a companion reads; what goes wrong is printed on standard error.
#ifndef RAMGRAFT_COMPANION_OPENING_H
#define RAMGRAFT_COMPANION_OPENING_H

#include <string>

#include "base/ramgraftbstream.h"
#include "companion/messages.h"
#include "files/descriptor.h"
#include "inputs/fault.h"

/// A bitstream file in memory.
struct OpenStream {
  std::string name;  ///< as given
  Bitstream bitstream{0};
  FileIdentity identity;
};

/// Prints what is wrong with an input file. True if nothing is.
bool reportFault(const InputFault& fault, const Messages& messages);

/// Loads a bitstream file. False if that failed.
bool openStream(const std::string& fileName, OpenStream& stream, const Messages& messages);

/// Loads two bitstream files to compare. False if that failed, also if both names are those of one
/// pipe.
bool openStreams(const std::string& oldFile, OpenStream& old, const std::string& newFile,
                 OpenStream& changed, const Messages& messages);

#endif
