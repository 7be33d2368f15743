// Where results go: standard output, or the file named after -o.
#ifndef RAMGRAFT_COMPANION_OUTPUT_H
#define RAMGRAFT_COMPANION_OUTPUT_H

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "companion/messages.h"
#include "companion/status.h"
#include "files/readfile.h"
#include "files/update.h"

/// Standard output, written in large pieces. After a first failure nothing more is written.
class StandardOutput {
 public:
  void write(std::string_view text);
  /// Writes what is left. Returns `status`, or FAILED, with a sentence on standard error, if not
  /// everything could be written.
  ExitStatus finish(ExitStatus status);

 private:
  void flush();

  std::string pending;
  int error = 0;
};

/// The bytes of a text.
std::span<const unsigned char> bytesOf(std::string_view text);

/// Makes `bytes` the whole contents of the named file, as a run replaces its output. `input` is the
/// file that they were made from, and `oldFile` says whether it is the one that is replaced.
/// Returns the sentence that says why that failed, else empty.
std::string putFile(const std::string& fileName, std::span<const unsigned char> bytes,
                    const FileIdentity& input, OldFile oldFile = OldFile::ANY);

/// A file that is to be written, and what is to be in it.
struct FileText {
  std::string fileName, text;
};

/// Writes these files, all of them or none, as replaceFiles() does. Returns the sentence that says
/// why that failed, else empty.
std::string putFiles(const std::vector<FileText>& files);

/// The sentence that refuses to write a file that is one of the inputs, as findInput() finds it;
/// empty if it is none of them.
std::string refuseInput(const std::string& outputFile, const std::vector<ReadFile>& inputs);

/// Writes a whole result to the named file, which is replaced as a run replaces its output, or to
/// standard output, which - is, too. The file may be none of `inputs`, the names of the files that
/// the result was made from. FINE, or FAILED, which is reported.
ExitStatus putResult(const std::optional<std::string>& fileName, std::string_view text,
                     const std::vector<std::string>& inputs, const Messages& messages);

#endif
