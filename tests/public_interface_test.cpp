// These four headers have all of the public interface, under names and with types that stay.
// Compiling this file is the test.
#include "base/ramgraftbstream.h"
#include "run/ramgraft.h"
#include "steps/ramgrafttraverse.h"
#include "steps/ramgraftutil.h"

namespace {

using Bits = std::list<bool>;
using Bools = std::vector<bool>;
using Bytes = std::vector<unsigned char>;
using Lines = std::vector<std::string>;
using Text = const std::string&;
using Traverser = BitstreamTraverser;

// A member of this type; of several of the name, this one.
template <typename Type, Type MEMBER>
constexpr bool HAS = true;

// Functions of this type. `auto` takes no name that several share, as in `auto f = writeOutput;`.
template <typename Type, auto... FUNCTIONS>
requires(std::is_same_v<decltype(FUNCTIONS), Type*>&&...) constexpr bool ARE = true;

static_assert(std::is_constructible_v<Bitstream, unsigned long> &&
              HAS<unsigned long (Bitstream::*)() const, &Bitstream::getNumBits> &&
              HAS<unsigned long (Bitstream::*)() const, &Bitstream::getNumBytes> &&
              HAS<bool (Bitstream::*)() const, &Bitstream::isByteAligned> &&
              HAS<bool (Bitstream::*)(unsigned long) const, &Bitstream::getBit> &&
              HAS<void (Bitstream::*)(bool, unsigned long), &Bitstream::addBit> &&
              HAS<unsigned char (Bitstream::*)(unsigned long) const, &Bitstream::getByte> &&
              HAS<void (Bitstream::*)(bool), &Bitstream::pushBit> &&
              HAS<void (Bitstream::*)(unsigned char), &Bitstream::pushByte>);
static_assert(std::is_constructible_v<Traverser, Bitstream*> &&
              HAS<void (Traverser::*)(unsigned long), &Traverser::setBitIndex> &&
              HAS<unsigned long (Traverser::*)() const, &Traverser::getBitIndex> &&
              HAS<void (Traverser::*)(), &Traverser::incrementBitIndex> &&
              HAS<Bitstream* (Traverser::*)() const, &Traverser::getBitstream> &&
              HAS<bool (Traverser::*)(Text, Bits&), &Traverser::findBits> &&
              HAS<bool (Traverser::*)(Text, Bits&), &Traverser::expectBits> &&
              HAS<bool (Traverser::*)(char, int, Bits&), &Traverser::expectBits> &&
              HAS<void (Traverser::*)(int, Bits&), &Traverser::skipBits> &&
              HAS<void (Traverser::*)(int, Bits&, std::string&), &Traverser::skipBits>);
static_assert(ARE<bool(Bits, Text), checkBitsValue> &&
              ARE<void(int, short, std::string&), intToBinaryString> &&
              ARE<int(Text), binaryStringToInt> &&
              ARE<void(Text, std::string&), binaryStringToHex> &&
              ARE<bool(Text, Bytes&), hexStringToBytes> &&
              ARE<void(const Bytes&, Bools&), bytesToBits> && ARE<char(bool), bitToChar>);
static_assert(
    ARE<bool(Text, Bitstream&), readBitFile, writeOutput> &&
    ARE<bool(Text, Lines&, std::vector<char>), readFileLines> &&
    ARE<bool(const Lines&), checkWidLengths> && ARE<bool(Text, int&, int&), parseAddrDataWidth> &&
    ARE<bool(Lines&, int&), normalizeWids> &&
    ARE<bool(Text, Text, Text, Lines&, Lines&, int&, Bitstream&, int&, int&), loadInputFiles>);
static_assert(ARE<bool(Traverser&, Bits&), findEbrAddressSection> &&
              ARE<bool(Traverser&, int&, Bits&), findEbrDataSection> &&
              ARE<void(const Lines&, int, int, int, Lines&), transformLogInitToPhy> &&
              ARE<bool(Traverser&, Lines, int&, int, int, int, int, Bits&), replaceEbrData> &&
              ARE<void(Traverser&, int, Bits&), writeEbrCrc> &&
              ARE<unsigned char(unsigned char), reverseByteBits> &&
              BIT_REVERSE_TABLE.size() == 256 && BIT_REVERSE_TABLE[0x0F] == 0xF0 &&
              CRC16_NIBBLE_TABLE.size() == 16 && CRC16_NIBBLE_TABLE[8] == 0xA001);
static_assert(ARE<void(), runUnitTests> && ARE<bool(Traverser&), test_findBits, test_expectBits> &&
              ARE<bool(), test_checkBitsValue, test_intToBinaryString, test_binaryStringToInt,
                  test_findEbrAddressSection, test_findEbrDataSection, test_hexStringToBytes,
                  test_bytesToBits, test_transformLogInitToPhy, test_binaryStringToHex>);

}  // namespace
