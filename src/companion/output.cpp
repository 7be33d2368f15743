#include "companion/output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "console/lines.h"
#include "files/replace.h"
#include "reports/outputs.h"

namespace {

const unsigned char* bytesOf(std::string_view text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

}  // namespace

ExitStatus refuse(std::string_view reason) {
  printDiagnostic("ERROR: ", reason);
  return ExitStatus::FAILED;
}

void StandardOutput::write(std::string_view text) {
  constexpr std::size_t PIECE = 64 << 10;
  pending += text;
  if (pending.size() >= PIECE) flush();
}

// Through a descriptor of its own, because closing that can report an error, too.
void StandardOutput::flush() {
  if (error == 0) {
    FileDescriptor output(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    std::size_t written = 0;
    error = output.isOpen() ? output.write(bytesOf(pending), pending.size(), written) : errno;
    const int closeError = output.close();
    if (error == 0) error = closeError;
  }
  pending.clear();
}

ExitStatus StandardOutput::finish(ExitStatus status) {
  if (!pending.empty()) flush();
  if (error == 0) return status;
  return refuse(std::string("can't write to standard output: ") + std::strerror(error));
}

ExitStatus putResult(const std::optional<std::string>& fileName, std::string_view text,
                     const FileIdentity& input) {
  if (!fileName) {
    StandardOutput output;
    output.write(text);
    return output.finish(ExitStatus::FINE);
  }
  const ReplaceResult result = replaceFile(*fileName, bytesOf(text), text.size(), input);
  if (result.isDone()) return ExitStatus::FINE;
  std::string reason = "can't write file " + *fileName + ": ";
  reason += reasonOf(result);
  const bool isMixed = result.outcome == ReplaceResult::Outcome::PART_WRITTEN;
  return refuse(isMixed ? reason.append("; ").append(MAY_BE_MIXED) : reason);
}
