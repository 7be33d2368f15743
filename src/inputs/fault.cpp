#include "inputs/fault.h"

InputFault faultOf(const ReadResult& result, const std::string& file) {
  using Kind = InputFault::Kind;
  InputFault fault;
  fault.file = file;
  fault.error = result.error;
  switch (result.outcome) {
    case ReadResult::Outcome::DONE:
      break;
    case ReadResult::Outcome::CANT_OPEN:
      fault.kind = Kind::CANT_OPEN;
      break;
    case ReadResult::Outcome::CANT_READ:
      fault.kind = Kind::CANT_READ;
      break;
    case ReadResult::Outcome::CHANGED:
      fault.kind = Kind::CHANGED;
      break;
    case ReadResult::Outcome::TOO_LARGE:
      fault.kind = Kind::TOO_LARGE;
      break;
  }
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
