// Reading files: whole, or line by line.
#ifndef RAMGRAFT_FILES_READ_H
#define RAMGRAFT_FILES_READ_H

#include <cstdint>
#include <string>
#include <string_view>

#include "base/bytebuffer.h"
#include "files/descriptor.h"

/// What became of reading a file.
struct ReadResult {
  enum class Outcome {
    DONE,
    CANT_OPEN,
    CANT_READ,
    CHANGED,  ///< a regular file was written to while it was read
  };

  Outcome outcome = Outcome::DONE;
  int error = 0;          ///< the system's error number unless DONE; EBUSY when CHANGED
  struct stat status {};  ///< of the file before it was read, once it could be opened
};

/// Reads all bytes of the named file, which may be a pipe, into `bytes`, whose earlier contents are
/// lost.
ReadResult readWholeFile(const std::string& fileName, ByteBuffer& bytes);

/// readWholeFile() that maps a very large regular file into memory instead of copying it, in two
/// thirds of the time (BM_loadSearchWrite). The file must stay as it is while `bytes` is in use;
/// when it is cut short nevertheless, the process ends with an ERROR line and exit status 1. A
/// system call that meets the missing bytes fails with EFAULT instead.
ReadResult readOrMapWholeFile(const std::string& fileName, ByteBuffer& bytes);

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
  std::string_view text;     ///< without line end; valid until the next one is asked for
  std::uint64_t number = 0;  ///< in the file, from 1
};

/// Reads the lines of a text file that count: not empty and not beginning with a comment character.
/// A line that holds a carriage return loses its last character, so that CR LF ends a line, too;
/// one that consists of a carriage return alone counts, as an empty line. Only a piece of the file
/// is held in memory, at least a line.
class LineReader {
 public:
  /// Opens the named file, which may be a pipe, and reads its beginning. The comment characters
  /// must outlive the reader.
  LineReader(const std::string& fileName, std::string_view commentCharacters);

  /// Moves on to the next line that counts. False when there is none, or when the file can't be
  /// read any further.
  bool next(TextLine& line);
  /// What became of reading up to here; all lines were read when it is DONE after next() was false.
  const ReadResult& getResult() const { return result; }

 private:
  std::string_view rest() const { return bytes.text().substr(begin); }
  bool readMore();
  bool takeLine(std::string_view& line);

  std::string_view comments;
  ReadResult result;
  FileDescriptor file;       ///< closed at its end
  ByteBuffer bytes;          ///< a piece of the file
  std::size_t begin = 0;     ///< of those in `bytes` that were not taken yet
  std::uint64_t number = 0;  ///< of the line taken last
};

#endif
