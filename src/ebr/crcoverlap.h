// CRCs that don't last: they cover bits that grafting writes after them.
#ifndef RAMGRAFT_EBR_CRCOVERLAP_H
#define RAMGRAFT_EBR_CRCOVERLAP_H

#include <cstdint>
#include <vector>

#include "base/ramgraftbstream.h"
#include "ebr/command.h"

/// Of the commands, which have all been grafted, the number of those with a CRC that isn't right
/// now or can't be checked. It covers whole bytes of the stream, and where commands don't begin on
/// the byte grid these can hold bits of its own field or of another command's. A command may be
/// given more than once.
std::uint64_t countLostCrcs(const Bitstream& bitstream, std::vector<EbrCommand> grafted);

#endif
