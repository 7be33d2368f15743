// Finding the sections of a bitstream for a subcommand.
#ifndef RAMGRAFT_INSPECT_SECTIONS_H
#define RAMGRAFT_INSPECT_SECTIONS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "companion/opening.h"
#include "companion/options.h"
#include "ebr/lookup.h"
#include "ebr/sectiontable.h"

/// Adds the options --id-bits, whose number stays 0 if it isn't given, and --verbose.
void addIdentifierBits(CLI::App& app, std::uint64_t& identifierBits, Detail& detail);

/// The sections of the stream. If `identifierBits` is 0 the width is found, and noted where another
/// one gives at least half as many EBRs, or when verbose. Nothing,
/// with the reason reported, if no width gives an EBR. With `isNoneFine` a stream without EBRs is
/// fine, too; its table then has identifiers of 0 bits.
std::optional<SectionTable> findSections(const OpenStream& stream, std::uint64_t identifierBits,
                                         const Messages& messages, bool isNoneFine = false);

/// Warns if ramgraft's search doesn't arrive at an EBR of the table's walk, and of what hides it.
void warnOfHidden(const SectionTable& table, const EbrCommand& ebr, Messages& messages);
/// The same for each usable one of `walked`, which lookUpOnWalk() gives.
void warnOfHidden(const Bitstream& bitstream, const std::vector<Lookup>& walked,
                  Messages& messages);

#endif
