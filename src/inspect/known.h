// Reading the words that a memory is known to contain.
#ifndef RAMGRAFT_INSPECT_KNOWN_H
#define RAMGRAFT_INSPECT_KNOWN_H

#include <cstdint>
#include <string>

#include "companion/messages.h"
#include "survey/knownwords.h"

/// Reads a memory file as ramgraft does. Words have `wordBits` bits, several of them in a line;
/// with 0, a word is a line. False if the file can't be used, which is reported.
bool readKnownLines(const std::string& fileName, std::uint64_t wordBits, KnownWords& known,
                    const Messages& messages);

/// Reads text words, which must be those of all word addresses from 0 on, in order. Words have
/// `wordBits` bits; with 0, those of their digits. False if the file can't be used, which is
/// reported.
bool readKnownText(const std::string& fileName, std::uint64_t wordBits, KnownWords& known,
                   const Messages& messages);

#endif
