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

// `auto` takes no name that several functions share, as a caller's `auto f = writeOutput;`.
template <typename Type, auto FUNCTION>
constexpr bool IS = std::is_same_v<decltype(FUNCTION), Type*>;
template <typename Type, Type MEMBER>  // picks one of several of the name
constexpr bool HAS = true;

static_assert(std::is_constructible_v<Bitstream, unsigned long>);
static_assert(HAS<unsigned long (Bitstream::*)() const, &Bitstream::getNumBits>);
static_assert(HAS<unsigned long (Bitstream::*)() const, &Bitstream::getNumBytes>);
static_assert(HAS<bool (Bitstream::*)() const, &Bitstream::isByteAligned>);
static_assert(HAS<bool (Bitstream::*)(unsigned long) const, &Bitstream::getBit>);
static_assert(HAS<void (Bitstream::*)(bool, unsigned long), &Bitstream::addBit>);
static_assert(HAS<unsigned char (Bitstream::*)(unsigned long) const, &Bitstream::getByte>);
static_assert(HAS<void (Bitstream::*)(bool), &Bitstream::pushBit>);
static_assert(HAS<void (Bitstream::*)(unsigned char), &Bitstream::pushByte>);

static_assert(std::is_constructible_v<Traverser, Bitstream*>);
static_assert(HAS<void (Traverser::*)(unsigned long), &Traverser::setBitIndex>);
static_assert(HAS<unsigned long (Traverser::*)() const, &Traverser::getBitIndex>);
static_assert(HAS<void (Traverser::*)(), &Traverser::incrementBitIndex>);
static_assert(HAS<Bitstream* (Traverser::*)() const, &Traverser::getBitstream>);
static_assert(HAS<bool (Traverser::*)(Text, Bits&), &Traverser::findBits>);
static_assert(HAS<bool (Traverser::*)(Text, Bits&), &Traverser::expectBits>);
static_assert(HAS<bool (Traverser::*)(char, int, Bits&), &Traverser::expectBits>);
static_assert(HAS<void (Traverser::*)(int, Bits&), &Traverser::skipBits>);
static_assert(HAS<void (Traverser::*)(int, Bits&, std::string&), &Traverser::skipBits>);

static_assert(IS<bool(Bits, Text), checkBitsValue>);
static_assert(IS<void(int, short, std::string&), intToBinaryString>);
static_assert(IS<int(Text), binaryStringToInt>);
static_assert(IS<void(Text, std::string&), binaryStringToHex>);
static_assert(IS<bool(Text, Bytes&), hexStringToBytes>);
static_assert(IS<void(const Bytes&, Bools&), bytesToBits>);
static_assert(IS<char(bool), bitToChar>);

static_assert(IS<bool(Text, Bitstream&), readBitFile>);
static_assert(IS<bool(Text, Bitstream&), writeOutput>);
static_assert(IS<bool(Text, Lines&, std::vector<char>), readFileLines>);
static_assert(IS<bool(const Lines&), checkWidLengths>);
static_assert(IS<bool(Text, int&, int&), parseAddrDataWidth>);
static_assert(IS<bool(Lines&, int&), normalizeWids>);
static_assert(
    IS<bool(Text, Text, Text, Lines&, Lines&, int&, Bitstream&, int&, int&), loadInputFiles>);

static_assert(IS<bool(Traverser&, Bits&), findEbrAddressSection>);
static_assert(IS<bool(Traverser&, int&, Bits&), findEbrDataSection>);
static_assert(IS<void(const Lines&, int, int, int, Lines&), transformLogInitToPhy>);
static_assert(IS<bool(Traverser&, Lines, int&, int, int, int, int, Bits&), replaceEbrData>);
static_assert(IS<void(Traverser&, int, Bits&), writeEbrCrc>);
static_assert(IS<unsigned char(unsigned char), reverseByteBits>);
static_assert(BIT_REVERSE_TABLE.size() == 256 && BIT_REVERSE_TABLE[0x0F] == 0xF0);
static_assert(CRC16_NIBBLE_TABLE.size() == 16 && CRC16_NIBBLE_TABLE[8] == 0xA001);

static_assert(IS<void(), runUnitTests>);
static_assert(IS<bool(Traverser&), test_findBits>);
static_assert(IS<bool(Traverser&), test_expectBits>);
static_assert(IS<bool(), test_checkBitsValue> && IS<bool(), test_intToBinaryString>);
static_assert(IS<bool(), test_binaryStringToInt> && IS<bool(), test_findEbrAddressSection>);
static_assert(IS<bool(), test_findEbrDataSection> && IS<bool(), test_hexStringToBytes>);
static_assert(IS<bool(), test_bytesToBits> && IS<bool(), test_transformLogInitToPhy>);
static_assert(IS<bool(), test_binaryStringToHex>);

}  // namespace
