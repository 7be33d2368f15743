// The CRC field of an EBR's command: what it should be, whether it is, and writing it.
#ifndef RAMGRAFT_EBR_CRCFIELD_H
#define RAMGRAFT_EBR_CRCFIELD_H

#include <cstdint>

#include "base/ramgraftbstream.h"
#include "ebr/command.h"

/// The CRC of the `numBits` bits before bit `crcIndex`. It covers whole bytes of the stream,
/// `numBits` / 8 of them, starting with the byte that holds the range's second bit; for a
/// byte-aligned range that is its first byte. 0 when there is no whole byte or the range begins
/// before the stream.
std::uint16_t computeCrc(const Bitstream& bitstream, std::uint64_t crcIndex, std::int64_t numBits);

/// Overwrites the CRC field at bit `crcIndex` with computeCrc(). The field must be there.
void writeCrc(Bitstream& bitstream, std::uint64_t crcIndex, std::int64_t numBits);

/// The bits before its CRC field that the CRC of a command with this many frames covers.
std::int64_t crcCoveredBits(std::uint64_t frameCount);

/// True if the bytes that the CRC of a command covers include a bit of its field, so that writing
/// it changes them.
bool coversItself(const EbrCommand& command);

/// What a CRC field says about a command.
struct CrcCheck {
  enum class Verdict {
    RIGHT,
    EMPTY,  ///< 0 and not right: nobody filled it in
    WRONG,
    UNCHECKABLE,  ///< coversItself()
  };

  Verdict verdict = Verdict::RIGHT;
  std::uint16_t stored = 0;
  std::uint16_t computed = 0;  ///< what computeCrc() gives
};

/// Checks the CRC of a command without fault.
CrcCheck checkCrc(const Bitstream& bitstream, const EbrCommand& command);

#endif
