#!/usr/bin/env python3
"""Runs the recipes of the documents as written, and real firmware through ramgraft-load.

Usage: recipes.py FOLDER_OF_THE_PROGRAMS

A comment <!-- RECIPE: FILE --> before a block of one of the DOCUMENTS puts the block into that
file of the recipe's folder, <!-- RECIPE: run --> runs it, and <!-- RECIPE: console --> runs its
commands and compares what they print. Each recipe gets a folder with a made-up design; its firmware
is linked by the machine's own as and ld. What the documents print of it is what a little-endian
machine of 64 bits makes.

The table after <!-- keys: NAME --> has, as code, all keys of the JSON objects that JSON_RUNS[NAME]
print, but for those in the table "every".
"""

import json
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "examples"))
import ebrstream  # pylint: disable=wrong-import-position, import-error

WORDS, FRAMES, LANES = 2048, 256, 4  # of an EBR; EBRs that make words of 32 bits
PARTS = {"rom-0": 1, "rom-1": 5, "ram": 9}  # and the first of its EBRs
ROM_BYTES, RAM = 2 * LANES * WORDS, 0x20000000
DOCUMENTS = ("README.md", "docs/inspect.md", "docs/load.md", "docs/scripts.md")
BLOCK = re.compile(r"<!-- ([\w-]+): (\S+) -->\n+```\w*\n(.*?)^```$", re.DOTALL | re.MULTILINE)

MAP = """\
version = 1

[memory.rom]
base  = 0x0000_0000
words = 4096
order = "little"
wid   = ["rom-0.wid", "rom-1.wid"]

[memory.ram]
base  = 0x2000_0000
words = 2048
order = "little"
wid   = "ram.wid"
"""
FIRMWARE = """\
        .section .text, "ax"
        .globl  _start
_start: .ascii  "the first code"
        .fill   9000, 1, 0x5A
        .section .rodata, "a"
        .balign 256
        .globl  serial_number
serial_number:
        .4byte  0
        .data
        .ascii  "copied from the ROM"
        .section .ramdata, "aw"
        .globl  table
table:
        .ascii  "initialised in the RAM"
        .bss
        .skip   64
"""
# The first segment begins with the ELF header, as most linkers make it.
LINKER_SCRIPT = """\
ENTRY(_start)
PHDRS { text PT_LOAD FILEHDR PHDRS; data PT_LOAD; ram PT_LOAD; }
SECTIONS {
  . = SIZEOF_HEADERS;
  .text : { *(.text) } :text
  .rodata : { *(.rodata) } :text
  .data 0x20000000 : AT(ADDR(.rodata) + SIZEOF(.rodata)) { *(.data) } :data
  .ramdata : AT(ADDR(.ramdata)) { *(.ramdata) } :ram
  .bss : { *(.bss) } :ram
  /DISCARD/ : { *(.note*) *(.comment) *(.eh_frame*) }
}
"""
KEYS = re.compile(r"<!-- keys: ([\w-]+) -->\n\n((?:\|.*\n)+)")
# Each name's runs print all its keys. "cut.bit" ends inside a command.
JSON_RUNS = {
    "list": ["list --json --map design.toml design.bit", "list --json --id-bits 9 cut.bit"],
    "extract": ["extract --json design.bit ram.wid", "extract --json -o x design.bit ram.wid"],
    "verify": ["verify --json other.bit rom-0.wid firmware.mem"],
    "diff": ["diff --json --map design.toml design.bit other.bit",
             "diff --json --id-bits 9 design.bit cut.bit"],
    "locate": ["locate --json -o x.wid design-random.bit rom.mem",
               "locate --json --map x.toml design.bit rom=rom.mem"],
    "load": ["--json --check --set ram=00 design.toml design.bit firmware.hex"],
}
MAIN = """\
const unsigned serial_number = 0;
void _start(void) {}
"""


def run(command, folder, programs, status=0):
    """What the command prints; unless it is None, the status must be this one."""
    path = f"{programs}:{os.environ['PATH']}"
    result = subprocess.run(command, cwd=folder, env={**os.environ, "PATH": path}, text=True,
                            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    if status not in (None, result.returncode):
        raise SystemExit(f"{command} in {folder}: status {result.returncode}\n{result.stdout}")
    return result.stdout


def make_stream(words):
    """The bitstream of the design with these words of ROM and RAM, hexadecimal ones, in it."""
    stream = b"\xff" * 32
    for number, first in enumerate(PARTS.values()):
        part = words[number * WORDS:(number + 1) * WORDS]
        for lane in range(LANES):
            column = b"".join(b"%08d" % int(format(int(word, 16) >> 8 * lane & 0xFF, "b"))
                              for word in part)
            payload = ebrstream.pack_payload(column, FRAMES)
            stream += ebrstream.write_command(format(first + lane, "09b"), payload)
    return stream + b"\xff" * 32


def build_random(folder):
    """What placement and routing make of a design with text words in its memories."""
    words = [word for name in ("rom.mem", "ram.mem")
             for word in (folder / name).read_text(encoding="ascii").split()]
    assert len(words) == len(PARTS) * WORDS, "random words"
    (folder / "design-random.bit").write_bytes(make_stream(words))


def make_design(folder):
    """A bitstream with a ROM of two parts and a RAM, and firmware for it."""
    folder.mkdir()
    for part, first in PARTS.items():
        lines = [f"0b{first + lane:09b}\n" for lane in range(LANES)]
        (folder / f"{part}.wid").write_text("".join(lines) + "aw11;dw32\n", encoding="ascii")
    (folder / "design.bit").write_bytes(make_stream([]))
    texts = {"design.toml": MAP, "firmware.s": FIRMWARE, "link.ld": LINKER_SCRIPT, "main.c": MAIN,
             "firmware.mem": "A5A5A5A5\n3C3C3C3C\n0F0F0F0F\nF00DF00D\n"}
    for name, text in texts.items():
        (folder / name).write_text(text, encoding="ascii")
    (folder / "firmware.bin").write_bytes(bytes(range(256)))
    for command in ("as -o firmware.o firmware.s",
                    "ld -z max-page-size=4 -T link.ld -o firmware.elf firmware.o",
                    "objcopy -O ihex firmware.elf firmware.hex",
                    "objcopy -O srec firmware.elf firmware.srec"):
        run(command.split(), folder, "")


def memory_bytes(folder, bit_file, parts):
    """The bytes of a memory of the made-up design, read without the programs."""
    data = (folder / bit_file).read_bytes()
    commands = {each.identifier: each for each in ebrstream.walk_commands(data, 9)}
    image = b""
    for part in parts:
        lanes = []
        for lane in range(LANES):
            command = commands[format(PARTS[part] + lane, "09b")]
            bits = ebrstream.read_bits(data, command.payload_bit, 8 * command.payload_bytes)
            payload = format(bits, f"0{8 * command.payload_bytes}b")
            # The lane has 8 bits of each word, the highest first in its column.
            lanes.append(bytes(int(payload[at + 8:at:-1], 2) for at in range(0, 9 * WORDS, 9)))
        image += b"".join(map(bytes, zip(*lanes)))
    return image


def check_firmware(folder, programs):
    """What the linker put into the ELF file must be in the memories, from all three formats."""
    lines = [line.split() for line in run(["nm", "firmware.elf"], folder, programs).splitlines()]
    symbols = {name: int(address, 16) for address, _, name in lines}
    text, serial = symbols["_start"], symbols["serial_number"]
    assert text > 0, "the ELF header comes first"
    rom = bytearray(ROM_BYTES)
    code = b"the first code" + b"\x5a" * 9000
    rom[text:text + len(code)] = code
    rom[serial:serial + 4] = (1001).to_bytes(4, "little")
    rom[serial + 4:serial + 23] = b"copied from the ROM"
    ram, table = bytearray(LANES * WORDS), symbols["table"] - RAM
    ram[table:table + 22] = b"initialised in the RAM"
    outputs = []
    for content in ("firmware.elf", "firmware.hex", "firmware.srec"):
        load = ["--symbols", "firmware.elf", "--set", "serial_number=u32:1001", "design.toml"]
        run(["ramgraft-load", "-o", "out.bit", *load, "design.bit", content], folder, programs)
        run(["ramgraft-load", "--check", *load, "out.bit", content], folder, programs)
        run(["ramgraft-load", "--check", *load, "design.bit", content], folder, programs, 1)
        outputs.append((folder / "out.bit").read_bytes())
        assert memory_bytes(folder, "out.bit", ("rom-0", "rom-1")) == bytes(rom), content
        run(["ramgraft-inspect", "dump", "-o", "dump", "design.toml", "out.bit", "rom"], folder,
            programs)
        assert (folder / "dump").read_bytes() == bytes(rom), content
        assert memory_bytes(folder, "out.bit", ("ram",)) == bytes(ram), content
    assert outputs[0] == outputs[1] == outputs[2], "the formats differ"


def recipes():
    """Every marked block of the documents: the recipe, where the block goes, and its text."""
    for name in DOCUMENTS:
        for recipe, target, text in BLOCK.findall((ROOT / name).read_text(encoding="utf-8")):
            yield f"{Path(name).stem}-{recipe}", target, text


def run_console(text, folder, programs):
    """Runs the commands after "$ ", which must print what follows them."""
    for command, expected in re.findall(r"^\$ (.*)\n((?:(?!\$ ).*\n)*)", text, re.MULTILINE):
        printed = run(["bash", "-c", command], folder, programs, status=None)
        if printed != expected:
            raise SystemExit(f"{folder.name}: $ {command}\nprints:\n{printed}"
                             f"\nThe document has:\n{expected}")


def run_recipes(folder, programs):
    """Runs all recipes, each in its folder; returns how many blocks there were."""
    count = 0
    for recipe, target, text in recipes():
        count += 1
        place = folder / recipe
        if not place.exists():
            make_design(place)
            if recipe.endswith("-map"):
                for made in ("design.toml", *(f"{part}.wid" for part in PARTS)):
                    (place / made).unlink()
        if target == "console":
            run_console(text, place, programs)
        elif target == "run":
            run(["bash", "-euo", "pipefail", "-c", text], place, programs)
            if "inspect random" in text:
                build_random(place)
        else:
            (place / target).write_text(text, encoding="utf-8")
    return count


def keys_in(value):
    """All keys of the objects in a JSON value."""
    if isinstance(value, dict):
        return set(value).union(*map(keys_in, value.values()))
    return set().union(*map(keys_in, value)) if isinstance(value, list) else set()


def check_keys(folder, programs):
    """The documents list all keys that the programs print, and no other one."""
    make_design(folder)
    design = (folder / "design.bit").read_bytes()
    for name, words in (("rom", 2 * WORDS), ("ram", WORDS)):
        run(["ramgraft-inspect", "random", f"--words={words}", "--data-width=32", "-o",
             f"{name}.mem"], folder, programs)
    build_random(folder)
    with (folder / "design.toml").open("a", encoding="ascii") as toml:
        toml.write("[outside.flash]\nbase = 0x3000_0000\nbytes = 1024\n")
    (folder / "cut.bit").write_bytes(design[:9000])
    (folder / "other.bit").write_bytes(b"\x7f" + design[1:3000] + b"\xa5" + design[3001:])
    documents = "".join((ROOT / "docs" / name).read_text(encoding="utf-8")
                        for name in ("inspect.md", "load.md"))
    listed = {name: set(re.findall(r"`([a-z]\w*)(?:\[\])?`", table))
              for name, table in KEYS.findall(documents)}
    assert listed.keys() == {"every", *JSON_RUNS}, listed.keys()
    for name, commands in JSON_RUNS.items():
        program = "ramgraft-load" if name == "load" else "ramgraft-inspect"
        printed = set()
        for command in [*commands, commands[0] + " nothing"]:
            text = run(["bash", "-c", f"{program} {command} 2>/dev/null"], folder, programs, None)
            found = keys_in(json.loads(text))
            assert {"version", "error"} == found or {"version", "warnings"} < found, text
            printed |= found
        expected = listed[name] | listed["every"]
        assert printed == expected, (name, printed ^ expected)


def check_options(folder, programs):
    """Completion offers files by their endings and every option, which the manual explains."""
    script = 'source "$0"; COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)); "_${1//-/_}"'
    def complete(*words):
        command = ["bash", "-c", script + '; printf "%s\\n" "${COMPREPLY[@]}"',
                   ROOT / "completion/ramgraft", *words]
        return run(command, folder, programs).split()
    assert complete("ramgraft", "design.bit", "ram.wid", "fi") == ["firmware.mem"]
    assert complete("ramgraft", "design.bit", "link") == ["link.ld"]
    subcommands = complete("ramgraft-inspect", "")[:-2]
    assert "verify" in subcommands and "--version" not in subcommands, subcommands
    for command in [["ramgraft-load"], *(["ramgraft-inspect", name] for name in subcommands)]:
        manual = (ROOT / f"man/{command[0]}.1.in").read_text(encoding="utf-8")
        options = complete(*command, "-")
        assert "--help" in options and len(options) > 1, options
        for option in options:
            assert f".It Fl {option[1:]}" in manual, f"{command}: the manual lacks {option}"


def check_loaded(folder, programs, bit_file, content):
    run(["ramgraft-load", "--check", "design.toml", bit_file, content], folder, programs)


def check_make(folder, programs):
    """A changed .wid makes the bitstream anew, though the Makefile doesn't name it."""
    run(["make"], folder, programs)
    check_loaded(folder, programs, "design-fw.bit", "firmware.elf")
    assert "up to date" in run(["make"], folder, programs)
    (folder / "ram.wid").touch()
    assert "ramgraft-load" in run(["make"], folder, programs)


def check_cmake(folder, programs):
    """As check_make(), and the firmware is compiled."""
    check_loaded(folder, programs, "build/design-fw.bit", "build/firmware")
    before = (folder / "build/design-fw.bit").stat().st_mtime_ns
    run(["cmake", "--build", "build"], folder, programs)
    assert (folder / "build/design-fw.bit").stat().st_mtime_ns == before, "made twice"
    (folder / "ram.wid").touch()
    run(["cmake", "--build", "build"], folder, programs)
    assert (folder / "build/design-fw.bit").stat().st_mtime_ns != before, ".wid forgotten"


def main():
    if len(sys.argv) != 2:
        raise SystemExit(__doc__.splitlines()[2])
    programs = Path(sys.argv[1]).resolve()
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        make_design(folder / "firmware")
        check_firmware(folder / "firmware", programs)
        check_keys(folder / "keys", programs)
        check_options(folder / "keys", programs)
        count = run_recipes(folder, programs)
        check_make(folder / "load-make", programs)
        check_cmake(folder / "load-cmake", programs)
        devices = folder / "load-devices"
        image = memory_bytes(devices, "device-1200.bit", ("rom-1",))
        assert (1200).to_bytes(4, "little") == image[0x2500 - 0x2000:][:4], "serial number"
        for part in PARTS:
            located, made = ((folder / place / f"{part}.wid").read_text(encoding="ascii")
                             for place in ("README-map", "load-make"))
            assert located == made, part
        image = memory_bytes(folder / "load-alone", "out.bit", ("rom-0",))
        assert image.startswith(b"the first code\x5a"), "ramgraft alone"
        print(f"{count} blocks of the documents run as written")


if __name__ == "__main__":
    main()
