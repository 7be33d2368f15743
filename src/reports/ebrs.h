// What was found and done at EBRs, in words.
#ifndef RAMGRAFT_REPORTS_EBRS_H
#define RAMGRAFT_REPORTS_EBRS_H

#include <string>
#include <string_view>
#include <vector>

#include "base/ramgraftbstream.h"
#include "ebr/graft.h"

/// "right", "empty", "wrong" or "uncheckable".
std::string_view nameOf(CrcCheck::Verdict verdict);

/// What is missing from a command: "no TAV_EBR_WRITE" and the like.
std::string_view textOf(CommandFault fault);

/// Why the EBR can't be used: a sentence that names it.
std::string textOf(const Lookup& lookup);

/// What ramgraft reports of a command with a fault, and which bit that is at. Of a payload without
/// room it also reports how much is missing.
std::string detailOf(const EbrCommand& command, const Bitstream& bitstream);

/// What ramgraft reports of an EBR that can't be used, after "ERROR: ".
std::string detailOf(const Lookup& lookup, const Bitstream& bitstream);

/// What leads on where no EBR with the wid was found: what the wid or the bitstream is instead.
/// Takes a search through the whole stream.
std::string hintOf(const Lookup& lookup, const Bitstream& bitstream, const std::string& bitFile);

/// What a wrong CRC of the old contents says about the bitstream. The wid is that of the EBR.
std::string crcWarningOf(const CrcCheck& crc, const std::string& wid);

/// A sentence for each thing that is probably a mistake. The wid is that of the EBR.
std::vector<std::string> warningsOf(const GraftReport& report, const std::string& wid);

/// What is wrong with the CRCs of so many EBRs after a graft.
std::string lostCrcsWarning(std::uint64_t lost);

/// What keeps ramgraft's search from an EBR: a clause about "it".
std::string textOf(const Hiding& hiding, const Bitstream& bitstream);

/// The sentence that says so, with "now" if that is new. It names the EBR.
std::string textOf(const HiddenCommand& command, const Bitstream& bitstream, bool isNew);

#endif
