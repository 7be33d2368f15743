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
    CHANGED,    ///< a regular file was written to while it was read
    TOO_LARGE,  ///< more bytes than the caller takes
    CUT_SHORT,  ///< a regular file ended before its size said so
    LOCKED,     ///< not read, because another program keeps it locked
  };

  Outcome outcome = Outcome::DONE;
  int error = 0;          ///< the system's error number unless DONE; EBUSY when CHANGED, EFBIG when
                          ///< TOO_LARGE, EIO when CUT_SHORT
  struct stat status {};  ///< of the file before it was read, once it could be opened
};

/// Reads all bytes of the named file, which may be a pipe, into `bytes`, which is empty before.
/// Whatever happens to the file afterwards doesn't change `bytes`. Reading ends once there are more
/// than `mostBytes`: a file may have no end.
ReadResult readWholeFile(const std::string& fileName, ByteBuffer& bytes,
                         std::size_t mostBytes = SIZE_MAX);
/// The same for a file that has just been opened. If that failed, errno says why.
ReadResult readWholeFile(const FileDescriptor& file, ByteBuffer& bytes,
                         std::size_t mostBytes = SIZE_MAX);

/// The most bytes that are taken of an input that isn't a bitstream.
inline constexpr std::size_t MOST_INPUT_BYTES = std::size_t{1} << 30;

/// One line of a text file.
struct TextLine {
  std::string_view text;     ///< without line end; valid as long as its reader
  std::uint64_t number = 0;  ///< in the file, from 1
};

/// Reads the lines of a text file that count: those that aren't empty and don't begin with a
/// comment character. A line that contains a carriage return loses its last character, so that CR
/// LF ends a line, too; a line of a carriage return alone counts, as an empty line.
class LineReader {
 public:
  /// Reads the named file, which may be a pipe. The comment characters must outlive the reader.
  LineReader(const std::string& file, std::string_view commentCharacters);

  /// Moves on to the next line that counts. False when there is none; there are none in a file that
  /// can't be read.
  bool next(TextLine& line);
  /// The name as given.
  const std::string& getFileName() const { return fileName; }
  /// All bytes of the file, valid as long as the reader.
  std::string_view getBytes() const { return bytes.text(); }
  /// What became of reading the file.
  const ReadResult& getResult() const { return result; }

 private:
  std::string fileName;
  std::string_view comments;
  ByteBuffer bytes;
  ReadResult result;
  std::string_view rest;     ///< the part of the bytes not yet returned
  std::uint64_t number = 0;  ///< of the line returned last
};

#endif
