#!/usr/bin/env python3
"""Makes a map of two memories and firmware for an example that make_example.py has made.

    examples/make_firmware.py OUTDIR

shares the EBRs that ram.wid lists in OUTDIR out between a ROM at 0 and a RAM at 0x20000000, both of
32-bit words, and writes design.toml, a .wid file for each part of a memory, and firmware.elf: code
for the ROM and initialised data for the RAM, with a symbol serial_number. Everything in it is made
up, but the ELF file is what a linker would make, for a machine that doesn't exist.
"""

import struct
import sys
from pathlib import Path

WORDS = 2048        # of an EBR that holds 8 bits of each
LANES = 4           # EBRs for a word of 32 bits
RAM = 0x20000000
SERIAL_NUMBER = 0x100

EXECUTABLE, LITTLE_ENDIAN_32 = 2, b"\x7fELF\x01\x01\x01".ljust(16, b"\0")
LOAD, READ, WRITE, EXECUTE = 1, 4, 2, 1
PROGBITS, SYMTAB, STRTAB = 1, 2, 3
SHF_WRITE, SHF_ALLOC, SHF_EXECINSTR = 1, 2, 4
GLOBAL_OBJECT = 0x11


def add_string(table, text):
    """Adds a text to a string table; returns its offset there."""
    table += text.encode() + b"\0"
    return len(table) - len(text) - 1


def make_elf(code, data, symbols):
    """An ELF file with `code` at 0, `data`, if any, in the RAM, and symbols: names to addresses."""
    strings = bytearray(b"\0")
    loaded = [(".text", SHF_ALLOC | SHF_EXECINSTR, READ | EXECUTE, 0, code)]
    if data:
        loaded.append((".data", SHF_ALLOC | SHF_WRITE, READ | WRITE, RAM, data))
    entries = bytes(16)
    for name, address in symbols.items():
        entries += struct.pack("<IIIBBH", add_string(strings, name), address, 4, GLOBAL_OBJECT, 0,
                               2 if address >= RAM else 1)
    number, at = 2 + len(loaded), 52 + 32 * len(loaded)
    body = b""
    segments, sections = b"", bytes(40)

    def section(name, kind, flags, address, contents, link=0, size=0):
        """The header of a section; its contents follow those before."""
        nonlocal body
        begin, body = at + len(body), body + contents
        return struct.pack("<10I", add_string(strings, name), kind, flags, address, begin,
                           len(contents), link, 1 if link else 0, 4, size)

    for name, flags, access, address, contents in loaded:
        segments += struct.pack("<8I", LOAD, at + len(body), address, address, len(contents),
                                len(contents), access, 4)
        sections += section(name, PROGBITS, flags, address, contents)
    sections += section(".symtab", SYMTAB, 0, 0, entries, number, 16)
    name = add_string(strings, ".strtab")
    sections += struct.pack("<10I", name, STRTAB, 0, 0, at + len(body), len(strings), 0, 0, 1,
                            0)
    body += strings
    header = LITTLE_ENDIAN_32 + struct.pack("<HHIIIIIHHHHHH", EXECUTABLE, 0, 1, 0, 52,
                                            at + len(body), 0, 52, 32, len(loaded), 40, number + 1,
                                            number)
    return header + segments + body + sections


def write_memory(outdir, name, wids, base):
    """Writes the .wid files of a memory; returns its table in the map."""
    files = []
    for part in range(len(wids) // LANES):
        files.append(f"{name}-{part}.wid")
        lines = [*wids[part * LANES:(part + 1) * LANES], "aw11;dw32\n"]
        (outdir / files[-1]).write_text("\n".join(lines), encoding="ascii")
    names = ", ".join(f'"{file}"' for file in files)
    return (f"\n[memory.{name}]\nbase  = {base:#010x}\nwords = {WORDS * len(files)}\n"
            f'order = "little"\nwid   = [{names}]\n')


def main():
    if len(sys.argv) != 2:
        raise SystemExit(__doc__.splitlines()[2].strip())
    outdir = Path(sys.argv[1])
    wids = (outdir / "ram.wid").read_text(encoding="ascii").split()[:-1]
    if len(wids) % (2 * LANES) != 0:
        raise SystemExit(f"ram.wid lists {len(wids)} EBRs, no multiple of {2 * LANES}")
    half = len(wids) // 2
    tables = [write_memory(outdir, "rom", wids[:half], 0),
              write_memory(outdir, "ram", wids[half:], RAM)]
    (outdir / "design.toml").write_text("version = 1\n" + "".join(tables), encoding="ascii")
    image = (outdir / "firmware.bin").read_bytes()
    code, data = image[:LANES * WORDS * 3 // 2], image[:LANES * WORDS // 2]
    (outdir / "firmware.elf").write_bytes(
        make_elf(code, data, {"serial_number": RAM + SERIAL_NUMBER}))
    print(f"design.toml: a ROM and a RAM of {LANES * WORDS * (half // LANES)} bytes each")
    print(f"firmware.elf: {len(code)} bytes for the ROM, {len(data)} for the RAM")


if __name__ == "__main__":
    main()
