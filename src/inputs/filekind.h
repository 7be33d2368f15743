// FileKind: what a file is that was taken for a text file.
#ifndef RAMGRAFT_INPUTS_FILEKIND_H
#define RAMGRAFT_INPUTS_FILEKIND_H

#include <string_view>

/// What a file looks like by its first bytes.
enum class FileKind {
  TEXT,             ///< nothing speaks against it
  BYTE_ORDER_MARK,  ///< text that begins with a byte order mark, such as UTF-16
  ELF,
  GZIP,
  BINARY,  ///< something else with zero bytes
};

FileKind fileKindOf(std::string_view bytes);

#endif
