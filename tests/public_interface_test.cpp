// These four headers have all of the public interface, each name for one function only, as in
// `auto f = writeOutput;`. Compiling this file is the test; other tests call what it names.
#include "base/ramgraftbstream.h"
#include "run/ramgraft.h"
#include "steps/ramgrafttraverse.h"
#include "steps/ramgraftutil.h"

namespace {

template <auto...>
constexpr bool ARE_THERE = true;

static_assert(ARE_THERE<checkBitsValue, intToBinaryString, binaryStringToInt, binaryStringToHex,
                        hexStringToBytes, bytesToBits, bitToChar>);
static_assert(ARE_THERE<readBitFile, writeOutput, readFileLines, checkWidLengths,
                        parseAddrDataWidth, normalizeWids, loadInputFiles>);
static_assert(ARE_THERE<findEbrAddressSection, findEbrDataSection, transformLogInitToPhy,
                        replaceEbrData, writeEbrCrc, reverseByteBits>);
static_assert(ARE_THERE<runUnitTests, test_findBits, test_expectBits, test_checkBitsValue,
                        test_intToBinaryString, test_binaryStringToInt, test_findEbrAddressSection,
                        test_findEbrDataSection, test_hexStringToBytes, test_bytesToBits,
                        test_transformLogInitToPhy, test_binaryStringToHex>);
static_assert(BIT_REVERSE_TABLE.size() == 256 && BIT_REVERSE_TABLE[0x0F] == 0xF0 &&
              CRC16_NIBBLE_TABLE.size() == 16 && CRC16_NIBBLE_TABLE[8] == 0xA001);

}  // namespace
