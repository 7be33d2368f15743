"""EBR commands of a configuration bitstream: finding, checking and writing them.

A command loads one EBR. It is an address section and a data section, most significant bit first:

    bits   8      36        w        11    8    8      16     72 * frames    16
        | F6 | zero run | identifier | any | B2 | D0 | frames |   payload   | CRC |
         `------ address section ---'       `---------- data section ----------'

All identifiers of a stream have the same width w, that of the wids in its .wid file. A command may
start at any bit of the stream: only the opcode 0xF6 and the 36 zero bits mark its place.

Bits count from the start of the stream, the most significant bit of a byte first. Bit offsets and
byte offsets are easily mixed up, so their names end in `_bit` or `_byte`.
This code shares nothing with the C++ tool, so that each can be checked against the other.
"""

import re
from typing import NamedTuple

OPCODE_BITS = 8
ZERO_RUN_BITS = 36
UNCHECKED_BITS = 11
ADDRESS_START = 0xF6 << ZERO_RUN_BITS
ADDRESS_START_BITS = OPCODE_BITS + ZERO_RUN_BITS
DATA_START = 0xB2D0    # the opcode TAV_EBR_WRITE and the CRC/dummy bits
DATA_START_BITS = 16
FRAME_COUNT_BITS = 16
PAYLOAD_FRAME_BYTES = 9         # eight payload words of 9 bits
PAYLOAD_FRAME_DATA_BITS = 64    # each payload word is a 0 bit and eight data bits
CRC_HEADER_BYTES = 12           # the CRC also covers the 96 bits before the payload
CRC_BITS = 16


class EbrCommand(NamedTuple):
    """Where one command of a stream is."""

    identifier: str     # binary digits, as a .wid file lists it
    payload_bit: int    # bit offset of the payload
    crc_bit: int        # bit offset of the CRC field, right after the payload

    @property
    def end_bit(self):
        return self.crc_bit + CRC_BITS

    @property
    def payload_bytes(self):
        """The size of the payload, which is whole bytes wherever it begins."""
        return (self.crc_bit - self.payload_bit) // 8

    @property
    def crc_covers_itself(self):
        """True if the CRC covers the first bit of its own field, see command_crc().

        Writing such a CRC changes what it covers, so the finished stream can't show if it is right.
        """
        return self.crc_bit % 8 == 7


def crc_table():
    """What each value of the register's top byte becomes after eight steps of polynomial 0x8005."""
    table = []
    for register in range(0, 0x10000, 0x100):
        for _ in range(8):
            register = (register << 1) ^ (0x18005 if register & 0x8000 else 0)
        table.append(register)
    return table


CRC_TABLE = crc_table()


def crc16(data):
    """CRC-16 of bytes: polynomial 0x8005, initial value 0, nothing reflected, no final XOR.

    >>> hex(crc16(b"123456789"))
    '0xfee8'
    """
    register = 0
    for byte in data:
        register = (register << 8 & 0xFF00) ^ CRC_TABLE[register >> 8 ^ byte]
    return register


def read_bits(data, first_bit, count):
    """The unsigned number in `count` bits of the bytes `data`; all of them must be there."""
    end_bit = first_bit + count
    if first_bit < 0 or end_bit > 8 * len(data):
        raise IndexError(f"bits {first_bit} to {end_bit} are not all in {len(data)} bytes")
    end_byte = (end_bit + 7) // 8
    number = int.from_bytes(data[first_bit // 8:end_byte], "big")
    return number >> (8 * end_byte - end_bit) & (1 << count) - 1


def read_bytes(data, first_bit, count):
    """`count` bytes that begin at any bit of the bytes `data`."""
    return read_bits(data, first_bit, 8 * count).to_bytes(count, "big")


def write_bits(data, first_bit, count, number):
    """Overwrites `count` bits of the bytearray `data`, all of which must be there."""
    end_byte = (first_bit + count + 7) // 8
    bits_after = 8 * end_byte - first_bit - count
    touched = slice(first_bit // 8, end_byte)
    kept = int.from_bytes(data[touched], "big") & ~(((1 << count) - 1) << bits_after)
    data[touched] = (kept | number << bits_after).to_bytes(end_byte - first_bit // 8, "big")


# The bytes in which an opcode can have its last 1, any number of its bits lying in the byte before.
OPCODE_ENDS = bytes([0xFB, *(0x7B << zeros & 0xFF for zeros in range(8))])
OPCODE_END_AND_ZEROS = re.compile(b"[" + re.escape(OPCODE_ENDS) + rb"]\x00{3}")


def find_address_sections(data):
    """Bit offsets of every address section in the bytes `data`, at any alignment.

    Trying every bit is slow in Python. But 0xF6 ends in one 0, so 37 zero bits follow its last 1,
    and they contain at least three whole zero bytes wherever they start. The byte before these
    zero bytes therefore shows where the opcode must be:

        last byte    zero bytes
         11110110 | 00000000 00000000 ...    0xF6 on a byte boundary
         .1111011 | 00000000 00000000 ...    one bit later
    """
    found = []
    for match in OPCODE_END_AND_ZEROS.finditer(data):
        last_byte = match.start()
        trailing_zeros = (data[last_byte] & -data[last_byte]).bit_length() - 1
        opcode_bit = 8 * last_byte + 1 - trailing_zeros
        if opcode_bit < 0 or opcode_bit + ADDRESS_START_BITS > 8 * len(data):
            continue
        if read_bits(data, opcode_bit, ADDRESS_START_BITS) == ADDRESS_START:
            found.append(opcode_bit)
    return found


def read_command(data, opcode_bit, identifier_bits):
    """The command whose address section is at `opcode_bit`.

    None if no data section follows or the stream ends too early.
    """
    identifier_bit = opcode_bit + ADDRESS_START_BITS
    data_section_bit = identifier_bit + identifier_bits + UNCHECKED_BITS
    frame_count_bit = data_section_bit + DATA_START_BITS
    payload_bit = frame_count_bit + FRAME_COUNT_BITS
    if payload_bit > 8 * len(data):
        return None
    if read_bits(data, data_section_bit, DATA_START_BITS) != DATA_START:
        return None
    frames = read_bits(data, frame_count_bit, FRAME_COUNT_BITS)
    identifier = format(read_bits(data, identifier_bit, identifier_bits), f"0{identifier_bits}b")
    command = EbrCommand(identifier, payload_bit, payload_bit + frames * 8 * PAYLOAD_FRAME_BYTES)
    return command if command.end_bit <= 8 * len(data) else None


def walk_commands(data, identifier_bits):
    """All commands of a stream in stream order, without what looks like one inside a payload."""
    commands = []
    walked_bit = 0
    for opcode_bit in find_address_sections(data):
        if opcode_bit < walked_bit:
            continue
        command = read_command(data, opcode_bit, identifier_bits)
        if command:
            commands.append(command)
            walked_bit = command.end_bit
    return commands


def command_crc(data, command):
    """The CRC that a command needs with the payload that it has in `data`.

    It covers whole bytes of the stream: as many as 96 bits and the payload have, from the byte that
    contains the second of these 96 bits. If that is before the stream, it covers nothing and is 0.
    With a payload on a byte boundary those are exactly the bits before the CRC field; else:

        payload at bit 1 to 6 of a byte    begins and ends that many bits earlier
        payload at bit 7 of a byte         begins and ends one bit later, in the CRC field itself
    """
    second_bit = command.payload_bit - 8 * CRC_HEADER_BYTES + 1
    if second_bit < 0:
        return 0
    first_byte = second_bit // 8
    return crc16(data[first_byte:first_byte + CRC_HEADER_BYTES + command.payload_bytes])


def stored_crc(data, command):
    """The CRC that a command has in `data`."""
    return read_bits(data, command.crc_bit, CRC_BITS)


def leading_filler_bits(identifier, payload_shift):
    """How many filler bits to put before a command so that its payload begins where it should.

    That is `payload_shift` bits after a byte boundary. With 9 identifier bits the command begins
    96 bits, 12 whole bytes, before its payload, and needs no filler for a shift of 0. With fewer
    bits the CRC covers bits before the command, so there must be enough filler for these.
    """
    header_bits = (ADDRESS_START_BITS + len(identifier) + UNCHECKED_BITS
                   + DATA_START_BITS + FRAME_COUNT_BITS)
    fewest = max(0, 8 * CRC_HEADER_BYTES - 1 - header_bits)
    return fewest + (payload_shift - header_bits - fewest) % 8


def write_command(identifier, payload, payload_shift=0):
    """The bytes of a command whose payload begins `payload_shift` bits after a byte boundary.

    Filler bits (all 1) before and after the command make it whole bytes.
    """
    frames = len(payload) // PAYLOAD_FRAME_BYTES
    header = ("1" * leading_filler_bits(identifier, payload_shift)
              + format(ADDRESS_START, f"0{ADDRESS_START_BITS}b")
              + identifier
              + "0" * UNCHECKED_BITS
              + format(DATA_START, f"0{DATA_START_BITS}b")
              + format(frames, f"0{FRAME_COUNT_BITS}b"))
    command = EbrCommand(identifier, len(header), len(header) + 8 * len(payload))
    data = bytearray(b"\xff" * ((command.end_bit + 7) // 8))
    write_bits(data, 0, len(header), int(header, 2))
    write_bits(data, command.payload_bit, 8 * len(payload), int.from_bytes(payload, "big"))
    write_bits(data, command.crc_bit, CRC_BITS, command_crc(data, command))
    return bytes(data)


def pack_payload(column, frames):
    """An EBR's payload from its column, the data bits d0, d1, d2 ... as ASCII digits.

    Payload word j is a 0 bit and then d(8j+7), d(8j+6), ..., d(8j); zeros follow the last data bit.
    """
    column = column.ljust(frames * PAYLOAD_FRAME_DATA_BITS, b"0")
    payload_words = len(column) // 8
    payload_bits = bytearray(b"0" * (9 * payload_words))
    for place in range(8):
        payload_bits[1 + place::9] = column[7 - place::8]
    return int(payload_bits, 2).to_bytes(frames * PAYLOAD_FRAME_BYTES, "big")
