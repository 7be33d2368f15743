// The sections that a subcommand lists, in words and as JSON.
#ifndef RAMGRAFT_INSPECT_LISTED_H
#define RAMGRAFT_INSPECT_LISTED_H

#include <string>

#include "companion/json.h"
#include "inspect/mapped.h"
#include "survey/listing.h"

/// The fingerprint of the placed design whose walk the table has.
std::string fingerprintOf(const SectionTable& table);

/// Why a section is no EBR: "no TAV_EBR_WRITE" or "in the contents of 000000101" and the like.
std::string reasonOf(const OtherSection& other);

/// An object with what is known of the EBR, but its contents; with a map also its place there.
Json toJson(const ListedEbr& ebr, const MappedStream& mapped);
/// An object with identifier, place and reason.
Json toJson(const OtherSection& other);

#endif
