// EBR editing: finding an EBR's commands in the bitstream and replacing its contents.
#ifndef RAMGRAFT_STEPS_RAMGRAFTEBR_H
#define RAMGRAFT_STEPS_RAMGRAFTEBR_H

#include <cstdint>
#include <list>
#include <string>
#include <vector>

#include "ebr/columns.h"
#include "ebr/crc.h"
#include "steps/ramgrafttraverse.h"

/// Moves the cursor to the first identifier bit of the next EBR address section. False, the cursor
/// at the end, when there is none. A section whose zero bits are cut short by the end of the stream
/// counts, and leaves the cursor at the end. All bits read are appended to `newBits`.
bool findEbrAddressSection(BitstreamTraverser& traverser, std::list<bool>& newBits);

/// Called with the cursor behind the identifier: checks the TAV_EBR_WRITE framing and sets
/// `dataCount` to the number of payload frames (0 to 65535), the cursor then standing on the first
/// payload bit. False, with an ERROR line printed and `dataCount` as before, when the framing isn't
/// there or the stream ends inside it; the bits that did fit stay consumed. The first form appends
/// the bits passed to `newBits`.
bool findEbrDataSection(BitstreamTraverser& traverser, int& dataCount, std::list<bool>& newBits);
bool findEbrDataSection(BitstreamTraverser& traverser, int& dataCount);

/// Splits memory words, one hexadecimal line each, among `numEbrs` (at least 1) EBRs of
/// `dataWidth` / `numEbrs` (at least 1) bits each and appends one physical line per EBR to
/// `physicalLines`, EBR 0 first. Of a line with a character that is not hexadecimal, which is
/// reported by an ERROR line, the bytes before it are used; every line must come to a multiple of
/// an EBR's bits. `addrWidth` is not used.
void transformLogInitToPhy(const std::vector<std::string>& memoryLines, int addrWidth,
                           int dataWidth, int numEbrs, std::vector<std::string>& physicalLines);

/// Overwrites the payload of 72 x `dataCount` bits at the cursor with the next physical lines of
/// `newData`, its size / `numEbrs` many from index `startLine` on, and the CRC behind the payload
/// with the right one. `startLine` moves past the lines used, the cursor past the CRC field, and
/// the payload bits written are appended to `newBits`. Where the lines are shorter than the payload
/// its last bits keep their values. False, with an ERROR line and nothing written, when payload and
/// CRC field do not fit into the stream. `numEbrs` must be at least 1; the widths are not used.
bool replaceEbrData(BitstreamTraverser& traverser, std::vector<std::string> newData, int& startLine,
                    int dataCount, int numEbrs, int addrWidth, int dataWidth,
                    std::list<bool>& newBits);

/// As above, straight from the words: overwrites the payload at the cursor with the column of EBR
/// number `ebr`, repairs the CRC and moves the cursor past it. Prints a WARNING line that names
/// `wid` when the old CRC was neither right nor zero, and when the column holds more words than the
/// payload can take.
bool replaceEbrContents(BitstreamTraverser& traverser, EbrColumns& columns, std::uint64_t ebr,
                        int dataCount, const std::string& wid);

/// Overwrites the 16 bits at the cursor with the CRC over the `numBits` bits before them, taken as
/// the whole bytes of the stream in which they stand, and moves the cursor past them. The CRC is 0
/// when the range holds no whole byte or begins before the stream. `newBits` is not used.
void writeEbrCrc(BitstreamTraverser& traverser, int numBits, std::list<bool>& newBits);

#endif
