// EBR editing in simple steps: finding an EBR's command in the bitstream with a traverser, laying
// memory words out as physical lines, and replacing a payload by such lines.
//
// A run of the tool does the same in faster ways (ebr/). Both must agree.
//
// Messages go to descriptor 1 at once. A program that also writes to std::cout flushes that first.
#ifndef RAMGRAFT_STEPS_RAMGRAFTEBR_H
#define RAMGRAFT_STEPS_RAMGRAFTEBR_H

#include <list>
#include <string>
#include <vector>

#include "base/reversal.h"  // IWYU pragma: export
#include "ebr/crc.h"        // IWYU pragma: export
#include "steps/ramgrafttraverse.h"

/// Moves the cursor to the first identifier bit of the next EBR address section. False, the cursor
/// at the end, when there is none. A section whose zero bits are cut short by the end of the stream
/// counts, and leaves the cursor at the end. All bits read are appended to `newBits`.
bool findEbrAddressSection(BitstreamTraverser& traverser, std::list<bool>& newBits);

/// Called with the cursor after the identifier: checks the TAV_EBR_WRITE framing and sets
/// `dataCount` to the frame count (0 to 65535); the cursor is then on the first payload bit. False,
/// with an ERROR line printed and `dataCount` as before, when the framing isn't there or the stream
/// ends inside it; the fields before what is missing are passed all the same. All bits passed are
/// appended to `newBits`.
bool findEbrDataSection(BitstreamTraverser& traverser, int& dataCount, std::list<bool>& newBits);

/// Splits memory words, one hexadecimal line each, among `numEbrs` (at least 1) EBRs of
/// `dataWidth` / `numEbrs` (at least 1) bits each and appends one physical line per EBR to
/// `physicalLines`, EBR 0 first. Of a line with a character that is not hexadecimal, which an ERROR
/// line reports, the bytes before it are used. Every line must give a multiple of an EBR's bits.
/// `addrWidth` is not used.
void transformLogInitToPhy(const std::vector<std::string>& memoryLines, int addrWidth,
                           int dataWidth, int numEbrs, std::vector<std::string>& physicalLines);

/// Overwrites the payload of 72 x `dataCount` bits (none if that is negative) at the cursor with
/// the next physical lines of `newData`, its size / `numEbrs` many from index `startLine` on, and
/// makes the CRC after the payload right. `startLine` moves past the lines, the cursor past the CRC
/// field, and the payload bits written are appended to `newBits`. Lines that the payload has no
/// room for are not looked at; payload bits after the lines' end keep their values. False, with an
/// ERROR line and nothing written, when the stream has no room for payload and CRC field. `numEbrs`
/// must be at least 1; the widths are not used.
bool replaceEbrData(BitstreamTraverser& traverser, std::vector<std::string> newData, int& startLine,
                    int dataCount, int numEbrs, int addrWidth, int dataWidth,
                    std::list<bool>& newBits);

/// Overwrites the 16 bits at the cursor with the CRC of the `numBits` bits before them, taken as
/// whole bytes of the stream (computeCrc()), and moves the cursor past them. `newBits` is not used.
void writeEbrCrc(BitstreamTraverser& traverser, int numBits, std::list<bool>& newBits);

#endif
