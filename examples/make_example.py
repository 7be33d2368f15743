#!/usr/bin/env python3
"""Makes a device-sized bitstream with the .wid and .mem files to graft a new memory into it.

    examples/make_example.py OUTDIR

writes in.bit, ram.wid, firmware.mem and firmware.bin (the image behind firmware.mem) into OUTDIR.
Everything in them is made up, and the same options always give the same files. The options change
sizes and counts, for measuring.

The tool finds an EBR by its address command, so no such command may stand in the stream by
accident. That is checked here on the finished stream, not hoped for.
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
SYNC_WORD = bytes.fromhex("A5C33C5A")
MIN_FILLER_BYTES = 64

FRAME_MARKER = b"\xb5"
FRAME_END = b"\xff"
FRAME_DATA_BYTES = 120
FRAME_BYTES = len(FRAME_MARKER) + 2 + FRAME_DATA_BYTES + len(FRAME_END)
FRAME_POOL = 512
BLOCK_FRAMES = 4_000_000 // FRAME_BYTES  # a longer stream repeats the block of these frames

MIN_IDENTIFIER_BITS = 9
MAX_FRAMES = 0xFFFF
PHYSICAL_LINE_FRAMES = 819  # what one physical initialisation line of the tool can fill

STRINGS = (b"lantern controller 2.4.1\0", b"self test passed\0", b"lamp %u: %d mA\0",
           b"watchdog reset at %08x\0", b"calibration table missing, using defaults\0")


class Part(NamedTuple):
    """A run of whole bytes of the stream."""

    data: bytes
    command_bit: int | None = None  # bit offset of the address command in a section


# The configuration data


def sparse_bytes(rng, count, rarity):
    """`count` bytes in which one bit of 2 ** rarity is set."""
    number = (1 << 8 * count) - 1
    for _ in range(rarity):
        number &= int.from_bytes(rng.randbytes(count), "big")
    return number.to_bytes(count, "big")


def frame_data(rng):
    """One frame's data: unused, lightly used or busy fabric."""
    rarity = rng.choices((None, 4, 2), weights=(50, 35, 15))[0]
    if rarity is None:
        return bytes(FRAME_DATA_BYTES)
    return sparse_bytes(rng, FRAME_DATA_BYTES, rarity)


def remove_address_commands(frames):
    """Sets a bit in the zero run of each accidental address command, in place.

    A lone 1 with zeros before it cannot end another 0xF6, so that no new command arises. The bit
    always falls into frame data: no run of zeros reaches over the end of a frame.
    """
    for opcode_bit in ebrstream.find_address_commands(frames):
        frames[(opcode_bit + 30) // 8] |= 0x10


def configuration_block(rng, frame_count):
    """`frame_count` frames: a marker, the frame number with its top bit set, data, an end byte."""
    pool = [frame_data(rng) for _ in range(FRAME_POOL)]
    block = bytearray()
    for number, data in enumerate(rng.choices(pool, k=frame_count)):
        block += FRAME_MARKER + (0x8000 | number & 0x7FFF).to_bytes(2, "big") + data + FRAME_END
    remove_address_commands(block)
    return bytes(block)


def configuration_gaps(section_count, frame_count, sections_at):
    """How many configuration frames stand before each section, and behind the last one."""
    if sections_at == "start":
        return [0] * section_count + [frame_count]
    if sections_at == "end":
        return [frame_count] + [0] * section_count
    gaps = section_count + 1
    return [frame_count * (gap + 1) // gaps - frame_count * gap // gaps for gap in range(gaps)]


def configuration_runs(block, gaps):
    """For each gap the parts that fill it, the block being read round and round."""
    block_frames = len(block) // FRAME_BYTES
    at_frame = 0
    for gap in gaps:
        parts = []
        while gap > 0:
            frames = min(gap, block_frames - at_frame)
            parts.append(Part(block[at_frame * FRAME_BYTES:(at_frame + frames) * FRAME_BYTES]))
            at_frame = (at_frame + frames) % block_frames
            gap -= frames
        yield parts


# The EBR sections


def identifiers(section_count):
    """One identifier for each section, in stream order.

    They count from 1, because behind an accidental 0xF6 in a memory that is mostly zero the
    identifier reads as 0.
    """
    width = max(MIN_IDENTIFIER_BITS, section_count.bit_length())
    return [format(number, f"0{width}b") for number in range(1, section_count + 1)]


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


def old_section(rng, identifier, frames):
    """A section with old contents in which no address command but its own stands."""
    command_bit = ebrstream.leading_pad_bits(identifier)
    while True:
        contents = old_contents(rng, frames * ebrstream.FRAME_DATA_BITS // 8)
        payload = ebrstream.pack_payload(as_digits(contents), frames)
        data = ebrstream.write_section(identifier, payload)
        if ebrstream.find_address_commands(data) == [command_bit]:
            return Part(data, command_bit)


# The whole stream


def make_stream(rng, options, names):
    """The parts of the stream, in order, `options.bytes` bytes in all."""
    head = Part(HEADER_TEXT.encode() + DUMMY + SYNC_WORD)
    sections = [old_section(rng, name, options.frames) for name in names]
    room = options.bytes - MIN_FILLER_BYTES - total_bytes([head, *sections])
    if room < 0:
        raise SystemExit(f"--bytes {options.bytes} is too small, {options.bytes - room} are needed")
    frame_count = room // FRAME_BYTES
    block = configuration_block(rng, max(1, min(frame_count, BLOCK_FRAMES)))
    gaps = configuration_gaps(len(sections), frame_count, options.sections_at)
    *before, behind = configuration_runs(block, gaps)
    parts = [head]
    for configuration, section in zip(before, sections):
        parts += [*configuration, section]
    parts += behind
    parts.append(Part(b"\xff" * (options.bytes - total_bytes(parts))))
    return parts


def total_bytes(parts):
    return sum(len(part.data) for part in parts)


@functools.cache
def commands_in(data):
    """As find_address_commands, the answer kept: a long stream repeats its parts and seams."""
    return ebrstream.find_address_commands(data)


def stream_commands(parts):
    """Bit offsets of all address commands in the stream: those inside a part, and those over the
    seam of two parts, of which at most six bytes stand on either side."""
    reach = (ebrstream.ADDRESS_BITS + 7) // 8
    found = set()
    at_byte = 0
    tail = b""
    for part in parts:
        seam_byte = at_byte - len(tail)
        found.update(8 * seam_byte + bit for bit in commands_in(tail + part.data[:reach]))
        found.update(8 * at_byte + bit for bit in commands_in(part.data))
        at_byte += len(part.data)
        tail = part.data[-reach:]
    return found


def check_stream(parts):
    """Stops unless exactly the sections' own address commands stand in the stream."""
    own = set()
    at_byte = 0
    for part in parts:
        if part.command_bit is not None:
            own.add(8 * at_byte + part.command_bit)
        at_byte += len(part.data)
    wrong = own ^ stream_commands(parts)
    if wrong:
        raise SystemExit(f"address command missing or accidental at bits {sorted(wrong)[:10]}")


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
    code_words = max(0, used_bytes - len(vectors) - len(strings)) // 4
    image = vectors + b"".join(rng.choices(pool, k=code_words)) + strings
    return image[:byte_count].ljust(byte_count, b"\0")


def new_payloads(image, options):
    """The payload that each listed EBR will get, in the order of ram.wid.

    The listed EBRs stand side by side: the first one holds the lowest bits of every word.
    """
    word_bits = options.listed * options.bits_per_ebr
    image_bits = as_digits(image)
    for ebr in range(options.listed):
        first_bit = word_bits - (ebr + 1) * options.bits_per_ebr
        data_bits = bytearray(options.words * options.bits_per_ebr)
        for place in range(options.bits_per_ebr):
            data_bits[place::options.bits_per_ebr] = image_bits[first_bit + place::word_bits]
        yield ebrstream.pack_payload(bytes(data_bits), options.frames)


def check_firmware(image, wids, options):
    """Stops if the new contents could pass for the address command of another listed EBR.

    The tool searches through the payloads that it has already written.
    """
    width = len(wids[0])
    listed = set(wids)
    for wid, payload in zip(wids, new_payloads(image, options)):
        section = ebrstream.write_section(wid, payload)
        for opcode_bit in ebrstream.find_address_commands(section)[1:]:
            identifier_bit = opcode_bit + ebrstream.ADDRESS_BITS
            cut_off = identifier_bit + width > 8 * len(section)
            if cut_off or format(ebrstream.read_bits(section, identifier_bit, width),
                                 f"0{width}b") in listed:
                raise SystemExit(f"the memory for EBR {wid} holds an address command: "
                                 "take another --seed")


# The files


def write_wid(path, wids, options):
    """The identifiers and then the widths: address bits of all words, data bits of one word."""
    address_bits = (options.words - 1).bit_length()
    data_bits = options.listed * options.bits_per_ebr
    lines = [f"0b{wid}" for wid in wids] + [f"aw{address_bits};dw{data_bits}"]
    path.write_text("\n".join(lines) + "\n", encoding="ascii")


def write_mem(path, image, options):
    """One memory word a line, in hexadecimal, the image's first byte leftmost in word 0."""
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
    add("--sections", metavar="N", type=int, default=208, help="EBR sections in the stream")
    add("--frames", metavar="N", type=int, default=256, help="frames of 72 bits in each section")
    add("--listed", metavar="N", type=int, default=32, help="sections listed in ram.wid")
    add("--which", choices=("first", "last", "shuffled"), default="last",
        help="which sections are listed; shuffled: any, in any order")
    add("--words", metavar="N", type=int, default=2048, help="words of the new memory")
    add("--bits-per-ebr", metavar="N", type=int, default=8,
        help="bits of each word that one EBR holds")
    add("--sections-at", choices=("start", "spread", "end"), default="end",
        help="where in the configuration data the sections stand")
    add("--seed", metavar="N", type=int, default=1, help="another seed gives other contents")
    options = parser.parse_args()
    fault = fault_in(options)
    if fault:
        parser.error(fault)
    return options


def fault_in(options):
    """What is wrong with the options, in words, or None."""
    for name in ("sections", "frames", "listed", "words", "bits_per_ebr"):
        if getattr(options, name) < 1:
            return f"--{name.replace('_', '-')} must be at least 1"
    if options.frames > MAX_FRAMES:
        return f"--frames must be at most {MAX_FRAMES}, its field has 16 bits"
    if options.listed > options.sections:
        return "--listed must not be greater than --sections"
    if options.listed * options.bits_per_ebr % 8:
        return "--listed times --bits-per-ebr must be a multiple of 8: a word is whole bytes"
    capacity_bits = min(options.frames, PHYSICAL_LINE_FRAMES) * ebrstream.FRAME_DATA_BITS
    if options.words * options.bits_per_ebr > capacity_bits:
        return f"--words times --bits-per-ebr is more than the {capacity_bits} bits of an EBR"
    return None


def main():
    options = parse_options()
    rng = random.Random(options.seed)
    names = identifiers(options.sections)
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
