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
/// lost. Afterwards the file doesn't matter any more.
ReadResult readWholeFile(const std::string& fileName, ByteBuffer& bytes);
/// The same for a file that has just been opened. If that failed, errno says why.
ReadResult readWholeFile(const FileDescriptor& file, ByteBuffer& bytes);

/// One line of a text file.
struct TextLine {
  std::string_view text;     ///< without line end; valid until the next line is read
  std::uint64_t number = 0;  ///< in the file, from 1
};

/// Reads the lines of a text file that count: those that aren't empty and don't begin with a
/// comment character. A line that contains a carriage return loses its last character, so that CR
/// LF ends a line, too; a line of a carriage return alone counts, as an empty line. Only a piece of
/// the file, at least a line, is in memory.
class LineReader {
 public:
  /// Opens the named file, which may be a pipe, and reads its beginning. The comment characters
  /// must outlive the reader.
  LineReader(const std::string& fileName, std::string_view commentCharacters);

  /// Moves on to the next line that counts. False when there is none, or when the file can't be
  /// read any further.
  bool next(TextLine& line);
  /// What became of reading up to here. All lines were read if it is DONE after next() was false.
  const ReadResult& getResult() const { return result; }

 private:
  std::string_view rest() const { return bytes.text().substr(begin); }
  bool readMore();
  bool takeLine(std::string_view& line);

  std::string_view comments;
  FileDescriptor file;  ///< closed when its end was read
  ReadResult result;
  ByteBuffer bytes;          ///< a piece of the file
  std::size_t begin = 0;     ///< offset in `bytes` of the first byte not yet returned
  std::uint64_t number = 0;  ///< of the line returned last
};

#endif
