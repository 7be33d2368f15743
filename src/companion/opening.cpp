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
