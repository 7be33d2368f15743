#include "inputs/fault.h"

InputFault faultOf(const ReadResult& result, const std::string& file) {
  using Kind = InputFault::Kind;
  constexpr Kind KINDS[] = {Kind::NONE,      Kind::CANT_OPEN, Kind::CANT_READ, Kind::CHANGED,
                            Kind::TOO_LARGE, Kind::CUT_SHORT, Kind::LOCKED};
  InputFault fault;
  fault.kind = KINDS[static_cast<std::size_t>(result.outcome)];
  fault.file = file;
  fault.error = result.error;
  return fault;
}

InputFault faultInLine(InputFault::Kind kind, const std::string& file, const TextLine& line) {
  InputFault fault;
  fault.kind = kind;
  fault.file = file;
  fault.line = line.number;
  fault.text = line.text.substr(0, InputFault::EXCERPT_BYTES);
  return fault;
}
