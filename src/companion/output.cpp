#include "companion/output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "files/replace.h"
#include "reports/outputs.h"

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
    error =
        output.isOpen() ? output.write(bytesOf(pending).data(), pending.size(), written) : errno;
    const int closeError = output.close();
    if (error == 0) error = closeError;
  }
  pending.clear();
}

ExitStatus StandardOutput::finish(ExitStatus status) {
  if (!pending.empty()) flush();
  if (error == 0) return status;
  return Messages(false).refuse(std::string("can't write to standard output: ") +
                                std::strerror(error));
}

std::span<const unsigned char> bytesOf(std::string_view text) {
  return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

std::string putFile(const std::string& fileName, std::span<const unsigned char> bytes,
                    const FileIdentity& input, OldFile oldFile) {
  const ReplaceResult result =
      replaceFile(fileName, bytes.data(), bytes.size(), input, SignalHold(), oldFile);
  if (result.isDone()) return "";
  std::string reason = "can't write file " + fileName + ": ";
  reason += reasonOf(result);
  const bool isMixed = result.outcome == ReplaceResult::Outcome::PART_WRITTEN;
  return isMixed ? reason.append("; ").append(MAY_BE_MIXED) : reason;
}

std::string putFiles(const std::vector<FileText>& files) {
  std::vector<NewContents> contents;
  for (const FileText& file : files) contents.push_back({file.fileName, bytesOf(file.text)});
  std::size_t failed = 0;
  const ReplaceResult result = replaceFiles(contents, failed);
  if (result.isDone()) return "";
  std::string reason = "can't write file " + files[failed].fileName + ": ";
  reason += reasonOf(result);
  const bool isMixed = result.outcome == ReplaceResult::Outcome::PART_WRITTEN;
  return reason + (isMixed ? "; " + files.front().fileName + " is written already" : "");
}

std::string refuseInput(const std::string& outputFile, const std::vector<ReadFile>& inputs) {
  const ReadFile* const input = findInput(outputFile, inputs);
  return input == nullptr ? "" : "can't write file " + outputFile + ": " + textOf(*input);
}

ExitStatus putResult(const std::optional<std::string>& fileName, std::string_view text,
                     const std::vector<std::string>& inputs, const Messages& messages) {
  if (!fileName || *fileName == "-") {
    StandardOutput output;
    output.write(text);
    return output.finish(ExitStatus::FINE);
  }
  std::vector<ReadFile> files;
  files.reserve(inputs.size());
  for (const std::string& name : inputs) files.push_back({name, identityOf(name)});
  std::string fault = refuseInput(*fileName, files);
  if (fault.empty()) fault = putFile(*fileName, bytesOf(text), {});
  return fault.empty() ? ExitStatus::FINE : messages.refuse(fault);
}
