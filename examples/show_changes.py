#!/usr/bin/env python3
"""Says in words what changed between a bitstream and the one made from it.

    examples/show_changes.py IN.bit RAM.wid OUT.bit

Exits with status 1 when anything but the payloads and CRC fields of the EBRs listed in RAM.wid
differs, or when the CRC of a listed EBR is wrong in OUT.bit. An EBR whose new contents are equal
to the old ones is in order.
"""

import sys
from pathlib import Path

import ebrstream

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
    """The commands that are listed, in stream order; of equal identifiers the first one counts."""
    by_identifier = {}
    for command in commands:
        by_identifier.setdefault(command.identifier, command)
    missing = [wid for wid in wids if wid not in by_identifier]
    if missing:
        raise SystemExit(f"PROBLEM: no EBR section in the input has the identifier {missing[0]}")
    listed = {by_identifier[wid] for wid in wids}
    return sorted(listed, key=lambda command: command.payload_byte)


def differing_bytes(old, new, first_byte, end_byte):
    """Byte offsets at which two equally long streams differ, between two byte offsets."""
    old, new = old[first_byte:end_byte], new[first_byte:end_byte]
    if old == new:
        return []
    return [first_byte + i for i, pair in enumerate(zip(old, new)) if pair[0] != pair[1]]


def ranges_between(commands, stream_bytes):
    """The byte ranges that lie outside the payloads and CRC fields of the commands."""
    first_byte = 0
    for command in commands:
        yield first_byte, command.payload_byte
        first_byte = command.end_byte
    yield first_byte, stream_bytes


def describe(old, new, command):
    """One line on what happened to a command."""
    changed = len(differing_bytes(old, new, command.payload_byte, command.crc_byte))
    return (f"  EBR {command.identifier}: {changed} of {command.crc_byte - command.payload_byte} "
            f"payload bytes at byte {command.payload_byte} changed, CRC "
            f"{ebrstream.stored_crc(old, command):04X} -> {ebrstream.stored_crc(new, command):04X}")


def find_problems(old, new, listed):
    """What is not as it must be, one line each."""
    problems = []
    outside = [at_byte for first_byte, end_byte in ranges_between(listed, len(old))
               for at_byte in differing_bytes(old, new, first_byte, end_byte)]
    if outside:
        at_byte = outside[0]
        problems.append(f"{len(outside)} byte(s) outside the listed payloads and CRC fields "
                        f"differ, the first at byte {at_byte} "
                        f"({old[at_byte]:02X} -> {new[at_byte]:02X})")
    for command in listed:
        expected, stored = ebrstream.command_crc(new, command), ebrstream.stored_crc(new, command)
        if stored != expected:
            problems.append(f"the CRC of EBR {command.identifier} is {stored:04X} "
                            f"and should be {expected:04X}")
    return problems


def report(old, new, commands, listed, wid_name):
    """Prints what was found; the listed commands may be equal before and after."""
    print(f"{len(commands)} EBR sections found; {len(listed)} listed in {wid_name}")
    for command in listed[:SHOWN]:
        print(describe(old, new, command))
    if len(listed) > SHOWN:
        print(f"  ... and {len(listed) - SHOWN} more")
    problems = find_problems(old, new, listed)
    for problem in problems:
        print(f"PROBLEM: {problem}")
    if problems:
        return 1
    listed_bytes = sum(command.end_byte - command.payload_byte for command in listed)
    changed = sum(len(differing_bytes(old, new, command.payload_byte, command.end_byte))
                  for command in listed)
    print(f"their {len(listed)} payloads and CRC fields: {changed} of {listed_bytes} bytes changed")
    print(f"every other byte ({len(old) - listed_bytes}) is identical; "
          "the CRC of every listed EBR is correct")
    return 0


def main():
    if len(sys.argv) != 4:
        raise SystemExit("Usage: show_changes.py IN.bit RAM.wid OUT.bit")
    in_name, wid_name, out_name = sys.argv[1:]
    old, wids, new = read_file(in_name), read_wids(wid_name), read_file(out_name)
    if len(old) != len(new):
        raise SystemExit(f"PROBLEM: the sizes differ: {len(old)} bytes in {in_name}, "
                         f"{len(new)} in {out_name}")
    try:
        commands = ebrstream.walk_commands(old, len(wids[0]))
    except ValueError as error:
        raise SystemExit(f"PROBLEM: can't judge {in_name}: {error}") from error
    return report(old, new, commands, listed_commands(commands, wids), Path(wid_name).name)


if __name__ == "__main__":
    sys.exit(main())
