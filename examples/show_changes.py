#!/usr/bin/env python3
"""Says in words what changed between a bitstream and the one made from it.

Usage: show_changes.py IN.bit RAM.wid OUT.bit

Exits with status 1 when anything but the payloads and CRC fields of the EBRs listed in RAM.wid
differs, or when the CRC of a listed EBR is wrong in OUT.bit. An EBR whose new contents are equal
to the old ones is in order. So is a CRC that can't be judged because it covers a bit of its own
field, which happens only where payloads don't begin on a byte boundary.

Commands are those of IN.bit, taken one after the other without a look into their payloads. Where
contents look like a command, the tool finds that one, and this may report a problem that is none.
"""

import sys
from pathlib import Path

import ebrstream

USAGE = __doc__.splitlines()[2]
SHOWN = 3


def read_file(name):
    try:
        return Path(name).read_bytes()
    except OSError as error:
        raise SystemExit(f"PROBLEM: can't read {name}: {error.strerror}") from error


def read_wids(name):
    """The identifiers of a .wid file: all its lines but the last, without the prefix 0b."""
    lines = [line for line in read_file(name).decode("latin-1").splitlines() if line]
    wids = [line.removeprefix("0b") for line in lines[:-1]]
    if not wids or any(set(wid) - set("01") or len(wid) != len(wids[0]) for wid in wids):
        raise SystemExit(f"PROBLEM: {name} does not list identifiers of equal length")
    return wids


def listed_commands(commands, wids):
    """The commands that are listed, in the order in which the tool edits them.

    Of several commands with the same identifier the first one counts; an EBR that is listed more
    than once gets its final contents at the last listing.
    """
    by_identifier = {}
    for command in commands:
        by_identifier.setdefault(command.identifier, command)
    missing = [wid for wid in wids if wid not in by_identifier]
    if missing:
        raise SystemExit(f"PROBLEM: no EBR section in the input has the identifier {missing[0]}")
    last_listing_first = dict.fromkeys(reversed(wids))
    return [by_identifier[wid] for wid in reversed(last_listing_first)]


def differing_bytes(old, new):
    """The offsets of the bytes that differ in two equally long runs of bytes."""
    if old == new:
        return []
    return [i for i, pair in enumerate(zip(old, new)) if pair[0] != pair[1]]


def changed_bytes(old, new, first_bit, end_bit):
    """How many bytes have changed, counted from `first_bit`, which may be inside a byte."""
    count = (end_bit - first_bit) // 8
    return len(differing_bytes(ebrstream.read_bytes(old, first_bit, count),
                               ebrstream.read_bytes(new, first_bit, count)))


def describe(old, new, command):
    """One line on what happened to a command."""
    changed = changed_bytes(old, new, command.payload_bit, command.crc_bit)
    at_byte, odd_bits = divmod(command.payload_bit, 8)
    place = f"bit {command.payload_bit}" if odd_bits else f"byte {at_byte}"
    return (f"  EBR {command.identifier}: {changed} of {command.payload_bytes} "
            f"payload bytes at {place} changed, CRC "
            f"{ebrstream.stored_crc(old, command):04X} -> {ebrstream.stored_crc(new, command):04X}")


def replay(old, new, listed):
    """Copies the listed payloads and CRC fields from `new` to a copy of `old`, one by one.

    Returns that copy, which must be equal to `new`, and the CRC that each command needs when its
    turn comes. Only then is it certain: with less than 9 identifier bits a CRC covers bits before
    its own command, perhaps of a CRC field that is changed later.
    """
    stream = bytearray(old)
    crcs = []
    for command in listed:
        bit_count = command.end_bit - command.payload_bit
        ebrstream.write_bits(stream, command.payload_bit, bit_count,
                             ebrstream.read_bits(new, command.payload_bit, bit_count))
        crcs.append(ebrstream.command_crc(stream, command))
    return stream, crcs


def find_problems(old, new, listed):
    """What is not as it must be, one line each."""
    problems = []
    expected, crcs = replay(old, new, listed)
    outside = differing_bytes(expected, new)
    if outside:
        at_byte = outside[0]
        problems.append(f"{len(outside)} byte(s) outside the listed payloads and CRC fields "
                        f"differ, the first at byte {at_byte} "
                        f"({expected[at_byte]:02X} -> {new[at_byte]:02X})")
    for command, crc in sorted(zip(listed, crcs), key=lambda pair: pair[0].payload_bit):
        stored = ebrstream.stored_crc(new, command)
        if stored != crc and not command.crc_covers_itself:
            problems.append(f"the CRC of EBR {command.identifier} is {stored:04X} "
                            f"and should be {crc:04X}")
    return problems


def verdict(listed, stream_bytes, listed_bytes):
    """The last line of a report without problems."""
    other_bytes = stream_bytes - listed_bytes
    others = f"byte ({other_bytes})"
    if any(command.payload_bit % 8 for command in listed):
        others = f"bit ({8 * other_bytes})"
    unjudged = sum(command.crc_covers_itself for command in listed)
    crcs = "the CRC of every listed EBR is correct"
    if unjudged:
        crcs = (f"{len(listed) - unjudged} CRCs are correct, {unjudged} can't be judged: "
                "they cover a bit of their own field")
    return f"every other {others} is identical; {crcs}"


def report(old, new, commands, listed, wid_name):
    """Prints what was found; the listed commands may be equal before and after."""
    print(f"{len(commands)} EBR sections found; {len(listed)} listed in {wid_name}")
    for command in sorted(listed, key=lambda command: command.payload_bit)[:SHOWN]:
        print(describe(old, new, command))
    if len(listed) > SHOWN:
        print(f"  ... and {len(listed) - SHOWN} more")
    problems = find_problems(old, new, listed)
    for problem in problems:
        print(f"PROBLEM: {problem}")
    if problems:
        return 1
    listed_bytes = sum(command.end_bit - command.payload_bit for command in listed) // 8
    changed = sum(changed_bytes(old, new, command.payload_bit, command.end_bit)
                  for command in listed)
    print(f"their {len(listed)} payloads and CRC fields: {changed} of {listed_bytes} bytes changed")
    print(verdict(listed, len(old), listed_bytes))
    return 0


def main():
    arguments = sys.argv[1:]
    if arguments in (["-h"], ["--help"]):
        print(__doc__.strip())
        return 0
    if len(arguments) != 3:
        raise SystemExit(USAGE)
    in_name, wid_name, out_name = arguments  # pylint: disable=unbalanced-tuple-unpacking
    old, wids, new = read_file(in_name), read_wids(wid_name), read_file(out_name)
    if len(old) != len(new):
        raise SystemExit(f"PROBLEM: the sizes differ: {len(old)} bytes in {in_name}, "
                         f"{len(new)} in {out_name}")
    commands = ebrstream.walk_commands(old, len(wids[0]))
    return report(old, new, commands, listed_commands(commands, wids), Path(wid_name).name)


if __name__ == "__main__":
    sys.exit(main())
