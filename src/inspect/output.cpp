#include "inspect/output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "console/lines.h"
#include "files/replace.h"

namespace {

const unsigned char* bytesOf(std::string_view text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

ExitStatus sayUnwritten(std::string_view name, std::string_view reason) {
  printDiagnostic("ERROR: can't write ", name, ": ", reason);
  return ExitStatus::FAILED;
}

std::string reasonOf(const ReplaceResult& result) {
  using Outcome = ReplaceResult::Outcome;
  if (result.outcome == Outcome::IN_USE) return "another program is writing it";
  const bool isMixed = result.outcome == Outcome::PART_WRITTEN;
  return std::strerror(result.error) + std::string(isMixed ? "; it may be part old, part new" : "");
}

}  // namespace

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
  return error == 0 ? status : sayUnwritten("to standard output", std::strerror(error));
}

ExitStatus putResult(const std::optional<std::string>& fileName, std::string_view text,
                     const FileIdentity& input) {
  if (!fileName) {
    StandardOutput output;
    output.write(text);
    return output.finish(ExitStatus::FINE);
  }
  const ReplaceResult result = replaceFile(*fileName, bytesOf(text), text.size(), input);
  return result.isDone() ? ExitStatus::FINE : sayUnwritten("file " + *fileName, reasonOf(result));
}
