#include "companion/opening.h"

#include "companion/status.h"
#include "inputs/loading.h"
#include "reports/inputs.h"

bool reportFault(const InputFault& fault) {
  if (fault.kind != InputFault::Kind::NONE) refuse(textOf(fault));
  return fault.kind == InputFault::Kind::NONE;
}

bool openStream(const std::string& fileName, OpenStream& stream) {
  stream.name = fileName;
  return reportFault(loadBitstream(fileName, stream.bitstream, stream.identity));
}
