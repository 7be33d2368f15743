// A file whose bytes go into memories.
#ifndef RAMGRAFT_LOAD_CONTENT_H
#define RAMGRAFT_LOAD_CONTENT_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/bytebuffer.h"
#include "files/descriptor.h"
#include "firmware/image.h"
#include "layout/addresses.h"
#include "load/place.h"

/// How a content file says its bytes.
enum class ContentFormat { ELF, INTEL_HEX, S_RECORD, BIN, WORDS };

/// The format as the command line and reports name it: "elf", "hex", "srec", "bin", "mem".
std::string_view nameOf(ContentFormat format);

/// A content file.
struct Content {
  std::string file;  ///< its name as given
  FileIdentity identity;
  ContentFormat format = ContentFormat::BIN;
  Place place;                  ///< where address 0 of its pieces is
  ByteBuffer bytes;             ///< of the file
  FirmwareFacts facts;          ///< known once the pieces have been read
  std::vector<Symbol> symbols;  ///< of an ELF file, once they have been read, sorted by name

  /// Where the symbol is; nothing past 2^64 - 1.
  std::optional<Place> placeOf(const Symbol& symbol) const;
  /// Where byte number `offset` of a piece comes from, for messages: "FILE: SECTION", "FILE, line
  /// N" or "FILE".
  std::string originOf(const Piece& piece, std::uint64_t offset) const;
};

/// The file that the command line's `argument` names.
std::string fileOf(const std::string& argument);

/// Opens the content that the command line's `argument` names, in `content`, which is fresh.
/// Returns the sentence that says what is wrong and where, empty if nothing is.
std::string openContent(const std::string& argument, const Map& map, const AddressSpace& addresses,
                        Content& content);

/// Reads the pieces of an open content as readFirmware() does, in any format; pieces of text words
/// are bytes of one memory. Can be done again, with other `facts` than the content's own.
std::string readPieces(const Content& content, const Map& map, FirmwareFacts& facts,
                       const PieceVisitor& visit);

/// Reads the symbols of an open content, if it is an ELF file. Returns as openContent() does.
std::string readSymbols(Content& content);

/// Opens an ELF file whose symbols count, but not its contents, and reads them. Returns as
/// openContent() does.
std::string readSymbolFile(const std::string& file, Content& content);

#endif
