// The text of a map, before it is parsed.
#ifndef RAMGRAFT_LAYOUT_MAPTEXT_H
#define RAMGRAFT_LAYOUT_MAPTEXT_H

#include <string>

#include "base/bytebuffer.h"
#include "files/descriptor.h"

/// Reads the text of a map into `text`, which is empty before, but no more than 16 MB, since a pipe
/// or a device can be without end. Sets `identity` to the file's. Returns the sentence that says
/// why the text can't be parsed, empty if it can.
std::string readMapText(const std::string& fileName, ByteBuffer& text, FileIdentity& identity);

#endif
