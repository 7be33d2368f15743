#include "reports/outputs.h"

#include <cstring>

std::string_view reasonOf(const ReplaceResult& result) {
  const bool isInUse = result.outcome == ReplaceResult::Outcome::IN_USE;
  return isInUse ? "another program is writing it" : std::strerror(result.error);
}
