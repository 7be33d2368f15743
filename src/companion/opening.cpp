#include "companion/opening.h"

#include "inputs/loading.h"
#include "reports/inputs.h"

bool reportFault(const InputFault& fault, const Messages& messages) {
  if (fault.kind != InputFault::Kind::NONE) messages.refuse(textOf(fault));
  return fault.kind == InputFault::Kind::NONE;
}

bool openStream(const std::string& fileName, OpenStream& stream, const Messages& messages) {
  stream.name = fileName;
  return reportFault(loadBitstream(fileName, stream.bitstream, stream.identity), messages);
}

bool openStreams(const std::string& oldFile, OpenStream& old, const std::string& newFile,
                 OpenStream& changed, const Messages& messages) {
  if (!openStream(oldFile, old, messages) || !openStream(newFile, changed, messages)) return false;
  const bool hasOneSize = old.bitstream.getNumBytes() == changed.bitstream.getNumBytes();
  if (hasOneSize || old.identity != changed.identity) return true;
  messages.refuse(oldFile + " and " + newFile + " are the same pipe, which can't be read twice");
  return false;
}
