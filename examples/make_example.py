#!/usr/bin/env python3
"""Makes a device-sized bitstream with the .wid and .mem files to graft a new memory into it.

    examples/make_example.py OUTDIR

writes in.bit, ram.wid, firmware.mem and firmware.bin (what firmware.mem spells) into OUTDIR.
Everything in them is made up, and the same options always give the same files. The options change
sizes and counts, for measuring.

The tool finds an EBR by its address section, so the stream must contain no such section by
accident. The finished stream is checked for that.
"""

import argparse
import functools
import random
from pathlib import Path
from typing import NamedTuple

import ebrstream

HEADER_TEXT = """\
Made-up bitstream for trying out EBR replacement
Design: lantern_controller
Part: none, no such device exists
Rows: 64
Columns: 80
"""
DUMMY = b"\xff" * 16
SYNC_BYTES = bytes.fromhex("A5C33C5A")
MIN_FILLER_BYTES = 64

ROW_MARKER = b"\xb5"
ROW_END = b"\xff"
ROW_DATA_BYTES = 120
CONFIGURATION_ROW_BYTES = len(ROW_MARKER) + 2 + ROW_DATA_BYTES + len(ROW_END)
ROW_POOL = 512
RARITIES = {"sparse": 4, "busy": 2, "dense": 1}
FILLS = ("empty", "sparse", "third", "dense", "mixed")
BLOCK_ROWS = 4_000_000 // CONFIGURATION_ROW_BYTES  # a longer stream repeats these rows

USUAL_IDENTIFIER_BITS = 9
MAX_FRAMES = 0xFFFF
MAX_IDENTIFIER_BITS = 64
PHYSICAL_LINE_FRAMES = 819  # what one physical initialisation line of the tool can fill

STRINGS = (b"lantern controller 2.4.1\0", b"self test passed\0", b"lamp %u: %d mA\0",
           b"watchdog reset at %08x\0", b"calibration table missing, using defaults\0")


class Part(NamedTuple):
    """A run of whole bytes of the stream."""

    data: bytes
    section_bit: int | None = None  # bit offset of the address section if there is one


# The configuration data


def sparse_bytes(rng, count, rarity):
    """`count` bytes in which one bit of 2 ** rarity is set."""
    number = (1 << 8 * count) - 1
    for _ in range(rarity):
        number &= int.from_bytes(rng.randbytes(count), "big")
    return number.to_bytes(count, "big")


def row_data(rng, fill):
    """The data of one row; those of mixed rows are unused, lightly used or busy fabric."""
    if fill == "mixed":
        fill = rng.choices(("empty", "sparse", "busy"), weights=(50, 35, 15))[0]
    elif fill == "third":
        fill = rng.choice(("empty", "empty", "dense"))
    if fill == "empty":
        return bytes(ROW_DATA_BYTES)
    return sparse_bytes(rng, ROW_DATA_BYTES, RARITIES[fill])


def remove_address_sections(rows):
    """Sets a bit in the zero run of each accidental address section, in place.

    A lone 1 with zeros before it cannot end another 0xF6, so no new section arises. The bit is
    always one of a row's data: no run of zeros continues after the end of a row.
    """
    for opcode_bit in ebrstream.find_address_sections(rows):
        rows[(opcode_bit + 30) // 8] |= 0x10


def configuration_block(rng, row_count, fill):
    """`row_count` rows: a marker, the row's number with its top bit set, data, an end byte."""
    pool = [row_data(rng, fill) for _ in range(ROW_POOL)]
    block = bytearray()
    for number, data in enumerate(rng.choices(pool, k=row_count)):
        block += ROW_MARKER + (0x8000 | number & 0x7FFF).to_bytes(2, "big") + data + ROW_END
    remove_address_sections(block)
    return bytes(block)


def configuration_gaps(command_count, row_count, sections_at):
    """How many configuration rows come before each command, and after the last one."""
    if sections_at == "start":
        return [0] * command_count + [row_count]
    if sections_at == "end":
        return [row_count] + [0] * command_count
    gaps = command_count + 1
    return [row_count * (gap + 1) // gaps - row_count * gap // gaps for gap in range(gaps)]


def configuration_runs(block, gaps):
    """For each gap the parts that fill it, the block being read round and round."""
    at_byte = 0
    for gap in gaps:
        gap_bytes = gap * CONFIGURATION_ROW_BYTES
        parts = []
        while gap_bytes > 0:
            parts.append(Part(block[at_byte:at_byte + gap_bytes]))
            gap_bytes -= len(parts[-1].data)
            at_byte = (at_byte + len(parts[-1].data)) % len(block)
        yield parts


# The EBR commands


def default_identifier_bits(command_count):
    return max(USUAL_IDENTIFIER_BITS, command_count.bit_length())


def identifiers(command_count, width):
    """One identifier for each command, in stream order.

    They count from 1: an accidental address section in a memory that is mostly zero has the
    identifier 0.
    """
    return [format(number, f"0{width}b") for number in range(1, command_count + 1)]


def old_contents(rng, byte_count):
    """What an EBR may hold before: nothing, a ramp, a table of small numbers, or noise."""
    kind = rng.choice(("zero", "ramp", "table", "noise"))
    if kind == "ramp":
        start, step = rng.randrange(256), rng.randrange(1, 8)
        ramp = bytes((start + step * i) % 256 for i in range(256))
        return (ramp * (byte_count // 256 + 1))[:byte_count]
    if kind == "table":
        return sparse_bytes(rng, byte_count, 2)
    return rng.randbytes(byte_count) if kind == "noise" else bytes(byte_count)


def as_digits(data):
    """The bits of bytes as ASCII digits, most significant bit first."""
    return format(int.from_bytes(data, "big"), f"0{8 * len(data)}b").encode()


def payload_shift(identifier, options):
    """How many bits after a byte boundary the payload of a command begins.

    With another identifier width than the default it is 1 to 7 in turn, so that a stream has all
    alignments but that of whole bytes.
    """
    if options.identifier_bits == default_identifier_bits(options.sections):
        return 0
    return 1 + int(identifier, 2) % 7


def old_command(rng, identifier, options):
    """A command with old contents that contains no address section but its own."""
    frames = options.frames
    shift = payload_shift(identifier, options)
    section_bit = ebrstream.leading_filler_bits(identifier, shift)
    while True:
        contents = old_contents(rng, frames * ebrstream.PAYLOAD_FRAME_DATA_BITS // 8)
        payload = ebrstream.pack_payload(as_digits(contents), frames)
        data = ebrstream.write_command(identifier, payload, shift)
        if ebrstream.find_address_sections(data) == [section_bit]:
            return Part(data, section_bit)


# The whole stream


def make_stream(rng, options, names):
    """The parts of the stream, in order, `options.bytes` bytes in all."""
    head = Part(HEADER_TEXT.encode() + DUMMY + SYNC_BYTES)
    commands = [old_command(rng, name, options) for name in names]
    room = options.bytes - MIN_FILLER_BYTES - total_bytes([head, *commands])
    if room < 0:
        raise SystemExit(f"--bytes {options.bytes} is too small, {options.bytes - room} are needed")
    row_count = room // CONFIGURATION_ROW_BYTES
    block = configuration_block(rng, max(1, min(row_count, BLOCK_ROWS)), options.fill)
    gaps = configuration_gaps(len(commands), row_count, options.sections_at)
    *before, after = configuration_runs(block, gaps)
    parts = [head]
    for configuration, command in zip(before, commands):
        parts += [*configuration, command]
    parts += after
    parts.append(Part(b"\xff" * (options.bytes - total_bytes(parts))))
    return parts


def total_bytes(parts):
    return sum(len(part.data) for part in parts)


@functools.cache
def address_sections_in(data):
    """As find_address_sections, the answer kept: a long stream repeats its parts and seams."""
    return ebrstream.find_address_sections(data)


def stream_address_sections(parts):
    """Bit offsets of all address sections in the stream.

    They are inside a part, or over the seam of two parts with at most six bytes on either side.
    """
    reach = (ebrstream.ADDRESS_START_BITS + 7) // 8
    found = set()
    at_byte = 0
    tail = b""
    for part in parts:
        seam_byte = at_byte - len(tail)
        found.update(8 * seam_byte + bit for bit in address_sections_in(tail + part.data[:reach]))
        found.update(8 * at_byte + bit for bit in address_sections_in(part.data))
        at_byte += len(part.data)
        tail = part.data[-reach:]
    return found


def check_stream(parts):
    """Stops unless the address sections in the stream are exactly those of its commands."""
    own = set()
    at_byte = 0
    for part in parts:
        if part.section_bit is not None:
            own.add(8 * at_byte + part.section_bit)
        at_byte += len(part.data)
    wrong = own ^ stream_address_sections(parts)
    if wrong:
        raise SystemExit(f"address section missing or accidental at bits {sorted(wrong)[:10]}")


# The new memory


def listed_identifiers(rng, names, count, which):
    """The identifiers for ram.wid, in the order in which they are listed there."""
    if which == "shuffled":
        return rng.sample(names, count)
    return names[:count] if which == "first" else names[-count:]


def make_firmware(rng, byte_count):
    """A firmware image: vector table, code, strings, and zeros in the last third."""
    vectors = b"".join((0x400 + 0x40 * i).to_bytes(4, "little") for i in range(48))
    opcodes = (0x03, 0x13, 0x23, 0x33, 0x63, 0x6F)
    pool = [(rng.getrandbits(25) << 7 | rng.choice(opcodes)).to_bytes(4, "little")
            for _ in range(4096)]
    strings = b"".join(STRINGS)
    used_bytes = byte_count * 2 // 3
    instructions = max(0, used_bytes - len(vectors) - len(strings)) // 4
    image = vectors + b"".join(rng.choices(pool, k=instructions)) + strings
    return image[:byte_count].ljust(byte_count, b"\0")


def new_payloads(image, options):
    """The payload that each listed EBR will get, in the order of ram.wid.

    The first EBR listed holds the lowest bits of every memory word.
    """
    word_bits = options.listed * options.bits_per_ebr
    image_bits = as_digits(image)
    for ebr in range(options.listed):
        first_bit = word_bits - (ebr + 1) * options.bits_per_ebr
        column = bytearray(options.words * options.bits_per_ebr)
        for place in range(options.bits_per_ebr):
            column[place::options.bits_per_ebr] = image_bits[first_bit + place::word_bits]
        yield ebrstream.pack_payload(bytes(column), options.frames)


def check_firmware(image, wids, options):
    """Stops if the new contents could pass for the address section of another listed EBR.

    The tool searches through the payloads that it has already written.
    """
    width = len(wids[0])
    listed = set(wids)
    for wid, payload in zip(wids, new_payloads(image, options)):
        command = ebrstream.write_command(wid, payload, payload_shift(wid, options))
        for opcode_bit in ebrstream.find_address_sections(command)[1:]:
            identifier_bit = opcode_bit + ebrstream.ADDRESS_START_BITS
            cut_off = identifier_bit + width > 8 * len(command)
            if cut_off or format(ebrstream.read_bits(command, identifier_bit, width),
                                 f"0{width}b") in listed:
                raise SystemExit(f"the memory for EBR {wid} contains an address section: "
                                 "take another --seed")


# The files


def write_wid(path, wids, options):
    """The identifiers and then the widths: bits of an address, bits of a memory word."""
    address_bits = (options.words - 1).bit_length()
    data_bits = options.listed * options.bits_per_ebr
    lines = [f"0b{wid}" for wid in wids] + [f"aw{address_bits};dw{data_bits}"]
    path.write_text("\n".join(lines) + "\n", encoding="ascii")


def write_mem(path, image, options):
    """One memory word a line, in hexadecimal; word 0 begins with the first byte of the image."""
    word_bytes = len(image) // options.words
    with path.open("w", encoding="ascii") as mem:
        mem.write(f"# firmware.bin: {options.words} words of {8 * word_bytes} bits, word 0 first\n")
        for at_byte in range(0, len(image), word_bytes):
            mem.write(image[at_byte:at_byte + word_bytes].hex().upper() + "\n")


def parse_options():
    parser = argparse.ArgumentParser(
        description="Make a bitstream, a .wid and a .mem file to try the tool on.",
        formatter_class=argparse.ArgumentDefaultsHelpFormatter)
    parser.add_argument("outdir", metavar="OUTDIR", type=Path, help="folder for the files")
    add = parser.add_argument
    add("--bytes", metavar="N", type=int, default=2_000_000, help="bytes of the whole stream")
    add("--sections", metavar="N", type=int, default=208, help="EBR commands in the stream")
    add("--frames", metavar="N", type=int, default=256, help="frames of 72 bits in each payload")
    add("--listed", metavar="N", type=int, default=32, help="EBRs listed in ram.wid")
    add("--which", choices=("first", "last", "shuffled"), default="last",
        help="which EBRs are listed; shuffled: any, in any order")
    add("--words", metavar="N", type=int, default=2048, help="memory words to make")
    add("--bits-per-ebr", metavar="N", type=int, default=8,
        help="bits of each memory word that one EBR holds")
    add("--sections-at", choices=("start", "spread", "end"), default="end",
        help="where in the configuration data the EBR commands are")
    add("--identifier-bits", metavar="N", type=int, default=argparse.SUPPRESS,
        help="bits of an identifier; with another number than by default (9, or more for more "
        "than 511 EBRs) every payload begins inside a byte")
    add("--fill", choices=FILLS, default="mixed",
        help="how much of the configuration data is set: nothing, one bit in 16, a third of the "
        "rows, half of all bits, or some of each")
    add("--seed", metavar="N", type=int, default=1, help="another seed gives other contents")
    options = parser.parse_args()
    if "identifier_bits" not in options:
        options.identifier_bits = default_identifier_bits(options.sections)
    fault = fault_in(options)
    if fault:
        parser.error(fault)
    return options


def fault_in(options):  # pylint: disable=too-many-return-statements
    """What is wrong with the options, in words, or None."""
    for name in ("sections", "frames", "listed", "words", "bits_per_ebr"):
        if getattr(options, name) < 1:
            return f"--{name.replace('_', '-')} must be at least 1"
    if options.frames > MAX_FRAMES:
        return f"--frames must be at most {MAX_FRAMES}, its field has 16 bits"
    if options.listed > options.sections:
        return "--listed must not be greater than --sections"
    if not options.sections.bit_length() <= options.identifier_bits <= MAX_IDENTIFIER_BITS:
        return (f"--identifier-bits must be at most {MAX_IDENTIFIER_BITS} and enough for as many "
                "identifiers as --sections says")
    if options.listed * options.bits_per_ebr % 8:
        return "--listed times --bits-per-ebr must be a multiple of 8: a word is whole bytes"
    capacity_bits = min(options.frames, PHYSICAL_LINE_FRAMES) * ebrstream.PAYLOAD_FRAME_DATA_BITS
    if options.words * options.bits_per_ebr > capacity_bits:
        return f"--words times --bits-per-ebr is more than the {capacity_bits} bits of an EBR"
    return None


def main():
    options = parse_options()
    rng = random.Random(options.seed)
    names = identifiers(options.sections, options.identifier_bits)
    wids = listed_identifiers(rng, names, options.listed, options.which)
    image = make_firmware(rng, options.words * options.listed * options.bits_per_ebr // 8)
    check_firmware(image, wids, options)
    parts = make_stream(rng, options, names)
    check_stream(parts)

    options.outdir.mkdir(parents=True, exist_ok=True)
    with (options.outdir / "in.bit").open("wb") as stream:
        stream.writelines(part.data for part in parts)
    write_wid(options.outdir / "ram.wid", wids, options)
    write_mem(options.outdir / "firmware.mem", image, options)
    (options.outdir / "firmware.bin").write_bytes(image)
    print(f"in.bit: {options.bytes} bytes, {options.sections} EBR sections "
          f"of {options.frames} frames each")
    print(f"ram.wid: {options.listed} of them ({options.which}), "
          f"{options.bits_per_ebr} bits of every memory word in each")
    print(f"firmware.mem: {options.words} words of {options.listed * options.bits_per_ebr} bits, "
          "made from firmware.bin")


if __name__ == "__main__":
    main()
