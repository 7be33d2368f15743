"""EBR sections of a configuration bitstream: finding, checking and writing them.

A section is the pair of commands that loads one EBR, most significant bit first:

    bits   8      36       w        11       8    8     16      72 * frames    16
        | F6 | zero run | identifier | any | B2 | D0 | frames |   payload    | CRC |
         `-- address command --'            `-- data command --'

The identifier width w is that of the .wid file, 9 bits in most designs. A section may start at
any bit of the stream: only the address command itself (0xF6 and 36 zero bits) marks its place.

Bit offsets and byte offsets are easily mixed up, so every name here ends in `_bit` or `_byte`.
This code shares nothing with the C++ tool, so that each can be checked against the other.
"""

import re
from typing import NamedTuple

OPCODE_BITS = 8
ZERO_RUN_BITS = 36
UNCHECKED_BITS = 11
ADDRESS_BITS = OPCODE_BITS + ZERO_RUN_BITS
ADDRESS_COMMAND = 0xF6 << ZERO_RUN_BITS
DATA_OPCODE = 0xB2D0
DATA_OPCODE_BITS = 16
FRAME_COUNT_BITS = 16
FRAME_BYTES = 9          # eight 9-bit words
FRAME_DATA_BITS = 64     # each word is a 0 bit and eight data bits
CRC_HEADER_BYTES = 12    # the CRC reaches back over the 96 bits before the payload
CRC_BYTES = 2


class EbrSection(NamedTuple):
    """One section of a stream, its payload starting on a byte boundary."""

    identifier: str      # binary digits, as a .wid file lists it
    payload_byte: int    # byte offset of the payload
    crc_byte: int        # byte offset of the CRC field behind it

    @property
    def end_byte(self):
        return self.crc_byte + CRC_BYTES


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


# The bytes in which an opcode can have its last 1, any number of its bits lying in the byte before.
OPCODE_ENDS = bytes([0xFB, *(0x7B << zeros & 0xFF for zeros in range(8))])
OPCODE_END_AND_ZEROS = re.compile(b"[" + re.escape(OPCODE_ENDS) + rb"]\x00{3}")


def find_address_commands(data):
    """Bit offsets of every address command in the bytes `data`, at any alignment.

    Trying every bit is slow in Python. But 0xF6 ends in one 0, so that 37 zero bits follow its
    last 1, and these hold at least three whole zero bytes wherever they start. So the byte before
    a run of zero bytes tells where the opcode of a command over that run would have to be:

        last byte    zero bytes
         11110110 | 00000000 00000000 ...    0xF6 on a byte boundary
         .1111011 | 00000000 00000000 ...    one bit later
    """
    found = []
    for match in OPCODE_END_AND_ZEROS.finditer(data):
        last_byte = match.start()
        trailing_zeros = (data[last_byte] & -data[last_byte]).bit_length() - 1
        opcode_bit = 8 * last_byte + 1 - trailing_zeros
        if opcode_bit < 0 or opcode_bit + ADDRESS_BITS > 8 * len(data):
            continue
        if read_bits(data, opcode_bit, ADDRESS_BITS) == ADDRESS_COMMAND:
            found.append(opcode_bit)
    return found


def read_section(data, opcode_bit, identifier_bits):
    """The section whose address command is at `opcode_bit`.

    None when no data command follows or the stream ends too early; a ValueError when the payload
    does not start on a byte boundary, where the CRC is not one over whole bytes.
    """
    identifier_bit = opcode_bit + ADDRESS_BITS
    data_opcode_bit = identifier_bit + identifier_bits + UNCHECKED_BITS
    frame_count_bit = data_opcode_bit + DATA_OPCODE_BITS
    payload_bit = frame_count_bit + FRAME_COUNT_BITS
    if payload_bit > 8 * len(data):
        return None
    if read_bits(data, data_opcode_bit, DATA_OPCODE_BITS) != DATA_OPCODE:
        return None
    payload_byte, odd_bits = divmod(payload_bit, 8)
    if odd_bits:
        raise ValueError(f"the payload at bit {payload_bit} is not on a byte boundary")
    frames = read_bits(data, frame_count_bit, FRAME_COUNT_BITS)
    identifier = format(read_bits(data, identifier_bit, identifier_bits), f"0{identifier_bits}b")
    section = EbrSection(identifier, payload_byte, payload_byte + frames * FRAME_BYTES)
    return section if section.end_byte <= len(data) else None


def walk_sections(data, identifier_bits):
    """All sections of a stream in stream order; what looks like one inside a payload is not one."""
    sections = []
    walked_bit = 0
    for opcode_bit in find_address_commands(data):
        if opcode_bit < walked_bit:
            continue
        section = read_section(data, opcode_bit, identifier_bits)
        if section:
            sections.append(section)
            walked_bit = 8 * section.end_byte
    return sections


def section_crc(data, section):
    """The CRC that belongs behind a section's payload as it now stands in `data`."""
    return crc16(data[section.payload_byte - CRC_HEADER_BYTES:section.crc_byte])


def stored_crc(data, section):
    """The CRC that stands behind a section's payload."""
    return int.from_bytes(data[section.crc_byte:section.end_byte], "big")


def leading_pad_bits(identifier):
    """How many bits to put before an address command so that the payload is byte-aligned.

    With 9 identifier bits the 96 bits before the payload are 12 whole bytes. Other widths shift
    the payload, so filler bits go before the address command to make up for it. The CRC always
    reaches back 96 bits from the payload, which is whole bytes again, but they no longer begin
    with the opcode: with 10 identifier bits they begin one bit behind its start, with fewer than
    9 among the filler bits, of which there must be enough.
    """
    header_bits = (ADDRESS_BITS + len(identifier) + UNCHECKED_BITS
                   + DATA_OPCODE_BITS + FRAME_COUNT_BITS)
    return max(8 * CRC_HEADER_BYTES - header_bits, -header_bits % 8)


def write_section(identifier, payload):
    """The bytes of a section: filler bits (all 1) where needed, both commands and the CRC."""
    frames = len(payload) // FRAME_BYTES
    bits = ("1" * leading_pad_bits(identifier)
            + format(ADDRESS_COMMAND, f"0{ADDRESS_BITS}b")
            + identifier
            + "0" * UNCHECKED_BITS
            + format(DATA_OPCODE, f"0{DATA_OPCODE_BITS}b")
            + format(frames, f"0{FRAME_COUNT_BITS}b"))
    header = int(bits, 2).to_bytes(len(bits) // 8, "big")
    crc = crc16(header[-CRC_HEADER_BYTES:] + payload)
    return header + payload + crc.to_bytes(CRC_BYTES, "big")


def pack_payload(data_bits, frames):
    """An EBR's payload from its data bits d0, d1, d2 ... (ASCII digits), zero-filled at the end.

    Word j of the payload is a 0 bit and then d(8j+7), d(8j+6), ..., d(8j).
    """
    data_bits = data_bits.ljust(frames * FRAME_DATA_BITS, b"0")
    words = len(data_bits) // 8
    payload_bits = bytearray(b"0" * (9 * words))
    for place in range(8):
        payload_bits[1 + place::9] = data_bits[7 - place::8]
    return int(payload_bits, 2).to_bytes(frames * FRAME_BYTES, "big")
