// Reading whole files, and cutting text files into lines.
#ifndef RAMGRAFTREAD_H
#define RAMGRAFTREAD_H

#include <cstdint>
#include <string>
#include <string_view>

#include "ramgraftbuffer.h"
#include "ramgraftdescriptor.h"

/// What became of reading a file.
struct ReadResult {
  enum class Outcome { DONE, CANT_OPEN, CANT_READ };

  Outcome outcome = Outcome::DONE;
  int error = 0;          ///< the system's error number unless DONE
  struct stat status {};  ///< of the file before it was read, once it could be opened
};

/// Reads all bytes of the named file, which may be a pipe, into `bytes`, whose earlier contents are
/// lost.
ReadResult readWholeFile(const std::string& fileName, ByteBuffer& bytes);

/// readWholeFile() that maps a large regular file into memory instead of copying it: a third of the
/// time of a run on a large bitstream (bench/). The file must stay as it is while `bytes` is in
/// use; when it is cut short nevertheless, the process ends with an ERROR line and exit status 1. A
/// system call that meets the missing bytes fails with EFAULT instead.
ReadResult mapWholeFile(const std::string& fileName, ByteBuffer& bytes);

/// A file that was read: its name, and its status when it was opened.
struct InputFile {
  std::string name;
  struct stat status {};
};

/// Whether a regular file has been written to since it was opened to be read. A file of the same
/// name that has taken its place doesn't count.
bool hasChanged(const InputFile& file);

/// One line of a text file.
struct TextLine {
  std::string_view text;     ///< without line end; refers to the file's bytes
  std::uint64_t number = 0;  ///< in the file, from 1
};

/// Cuts text into the lines that count: not empty and not beginning with a comment character. A
/// line that holds a carriage return loses its last character, so that CR LF ends a line, too; one
/// that consists of a carriage return alone counts, as an empty line. Refers to the text.
class LineReader {
 public:
  LineReader(std::string_view text, std::string_view commentCharacters)
      : rest(text), comments(commentCharacters) {}

  /// Moves on to the next line that counts; false when there is none.
  bool next(TextLine& line);

 private:
  std::string_view rest;
  std::string_view comments;
  std::uint64_t number = 0;
};

#endif
