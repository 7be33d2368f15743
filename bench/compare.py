#!/usr/bin/env python3
"""Times runs of the release build in turn with a yardstick and prints a Markdown table.

    bench/compare.py [--quick] [--rounds N] [--only ROW...]

The streams are made in build/bench-data. Those of mixed fill are kept for the next time. --quick
runs small streams twice, to see that everything works; its times mean nothing. The exit status is 1
when a run fails or its output is wrong; ratios over their limit are listed.
"""

import argparse
import filecmp
import json
import os
import platform
import shlex
import shutil
import statistics
import subprocess
import sys
from pathlib import Path
from typing import NamedTuple

ROOT = Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "examples"))
import make_firmware  # pylint: disable=wrong-import-position, import-error

RAMGRAFT = ROOT / "build/release/ramgraft"
INSPECT = ROOT / "build/release/ramgraft-inspect"
LOAD = ROOT / "build/release/ramgraft-load"
DATA = ROOT / "build/bench-data"
WARM_UP_ROUNDS = 3
ROUNDS = 30
QUICK_ROUNDS = 2


class Stream(NamedTuple):
    """What examples/make_example.py is to make."""

    bytes: int
    sections: int
    listed: int
    which: str = "last"
    words: int = 2048
    frames: int = 256
    fill: str = "mixed"
    identifier_bits: int | None = None

    def options(self):
        return [f"--{name.replace('_', '-')}={value}" for name, value in self._asdict().items()
                if value is not None]

    def folder(self):
        name = f"{self.bytes}-{self.listed}-of-{self.sections}"
        if self.fill != "mixed":
            name += f"-{self.fill}"
        if self.identifier_bits:
            name += f"-{self.identifier_bits}-bit-identifiers"
        return DATA / name

    def describe(self):
        text = f"{self.bytes / 1e6:g} MB, {self.listed} of {self.sections} EBRs listed"
        if self.which == "shuffled":
            text += ", shuffled"
        if self.fill != "mixed":
            text += f", {self.fill}"
        if self.identifier_bits:
            text += f", {self.identifier_bits}-bit identifiers"
        return text


STREAMS = {
    "S1": Stream(2_000_000, 208, 32),
    "S2": Stream(2_000_000, 208, 208),
    "S3": Stream(15_000_000, 1000, 1000, "shuffled"),
    "S5": Stream(256_000_000, 1, 1),
}
QUICK_STREAMS = {
    "S1": Stream(300_000, 16, 4, words=256, frames=32),
    "S2": Stream(300_000, 16, 16, words=256, frames=32),
    "S3": Stream(600_000, 40, 40, "shuffled", words=256, frames=32),
    "S5": Stream(2_000_000, 1, 1, words=256, frames=32),
}
STREAM = ["in.bit"]
STREAM_AND_MEMORY = ["in.bit", "firmware.mem"]
# What cp copies, and how many times its time a run may take.
YARDSTICKS = {"S1": (STREAM, 1.5), "S2": (STREAM_AND_MEMORY, 2), "S3": (STREAM_AND_MEMORY, 3),
              "S5": (STREAM, 2.6)}
# The same for streams that are filled otherwise, which are measured to new files only.
FILLS = ("empty", "sparse", "third", "dense")
YARDSTICKS |= {f"S1-{fill}": (STREAM, 1.3) for fill in FILLS}
YARDSTICKS |= {f"S5-{fill}": (STREAM, 2.6) for fill in FILLS}
# S3u has payloads that begin inside a byte and may take this many times the time of S3.
UNALIGNED_LIMIT = 1.1


class Inspection(NamedTuple):
    """A run of ramgraft-inspect, to be compared with a run of ramgraft on the same stream."""

    stream: str
    limit: float
    subcommand: str
    files: tuple[str, ...]
    status: int = 0


GRAFTED = "saved/grafted.bit"
MEMORY = ("ram.wid", "firmware.mem")
INSPECTIONS = {
    "list": Inspection("S1", 1.5, "list", ("in.bit",)),
    "verify": Inspection("S1", 1.5, "verify", (GRAFTED, *MEMORY)),
    "verify-other": Inspection("S1", 1.5, "verify", ("in.bit", *MEMORY), 1),
    "diff": Inspection("S1", 1.5, "diff", ("in.bit", GRAFTED), 1),
    "locate": Inspection("S1", 3, "locate", (GRAFTED, "firmware.mem")),
    "locate-S3": Inspection("S3", 5, "locate", (GRAFTED, "firmware.mem")),
}
# locate --map of so many memories, which make up almost all EBRs of the stream of S3, compared with
# a run of ramgraft on S3.
MAP_MEMORIES, MAP_LIMIT = 6, 10
# A run of ramgraft-load, compared with one of ramgraft on S1: how many memories like that of S1 it
# loads, and how many times the time it may take. With an ELF file that has many symbols, of which
# one is set, it may take so many milliseconds more.
LOADS = {"load": (1, 1.3), "load-6": (6, 1.6)}
ELF_EXTRA_MS, ELF_SYMBOLS = 20, 20_000
ROWS = ("S1", "S2", "S3", "S3u", "S4", "S5", *(name for name in YARDSTICKS if "-" in name),
        *INSPECTIONS, "locate-map", *LOADS, "load-elf")


class Row(NamedTuple):
    """A row of the table: times are medians in milliseconds."""

    run: str
    stream: str
    yardstick: str
    time: float
    yardstick_time: float
    limit: float
    peak_bytes: int
    file_bytes: int

    @property
    def is_over(self):
        return self.time / self.yardstick_time > self.limit


def run_quietly(command, status=0):
    """Runs a command that must end with this status; its output matters only when it doesn't."""
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                            errors="replace", check=False)
    if result.returncode != status:
        raise SystemExit(f"{shlex.join(map(str, command))}\nfailed: {result.stdout}")
    return result.stdout


def make_stream(stream, bit_file=None):
    """Makes the stream's folder unless it is there; `bit_file` takes the place of its in.bit.

    The options are noted last, so that what was not finished, or made otherwise, is made anew.
    """
    folder = stream.folder()
    note = folder / "options.txt"
    options = " ".join(stream.options())
    if not note.exists() or note.read_text() != options:
        shutil.rmtree(folder, ignore_errors=True)
        run_quietly([sys.executable, "-B", ROOT / "examples/make_example.py", *stream.options(),
                     folder])
        (folder / "saved").mkdir()
        if bit_file:
            (folder / "in.bit").unlink()
            os.link(bit_file, folder / "in.bit")
        note.write_text(options)
        os.sync()  # or the first runs would wait for the disk
    return folder


def ramgraft_command(folder, output="saved/out.bit"):
    names = ("in.bit", *MEMORY, output)
    return [str(RAMGRAFT), *(str(folder / name) for name in names)]


def time_in_turn(commands, outputs, rounds, is_fresh, statuses=(0,)):
    """The median time of each command in milliseconds; `outputs` are the files that each writes.

    `statuses` are the exit statuses that runs may have. With `is_fresh` the outputs are removed
    before each run, otherwise overwritten by all but the first. hyperfine would do all
    runs of one command before the next, and a machine that is slow for a while would hit one side
    only. So it gets one run of each at a time, in an order that rotates.
    """
    for output in (name for names in outputs for name in names):
        Path(output).unlink(missing_ok=True)  # of an earlier build
    export = DATA / "hyperfine.json"
    times = [[] for _ in commands]
    for number in range(-WARM_UP_ROUNDS, rounds):
        order = [(i + number) % len(commands) for i in range(len(commands))]
        arguments = ["hyperfine", "-N", "--runs=1", "--style=none", "--ignore-failure",
                     f"--export-json={export}"]
        for i in order:
            if is_fresh:
                arguments.append("--prepare=" + shlex.join(["rm", "-f", *outputs[i]]))
            arguments.append(shlex.join(commands[i]))
        run_quietly(arguments)
        if number < 0:
            continue
        for i, result in zip(order, json.loads(export.read_text())["results"]):
            if not set(result["exit_codes"]) <= set(statuses):
                raise SystemExit(f"{shlex.join(commands[i])}\nfailed: {result['exit_codes']}")
            times[i].append(1000 * result["times"][0])
    return [statistics.median(values) for values in times]


def check_output(folder):
    """Stops unless the output differs from the input exactly where it should."""
    old, wids, new = folder / "in.bit", folder / "ram.wid", folder / "saved/out.bit"
    run_quietly([sys.executable, "-B", ROOT / "examples/show_changes.py", old, wids, new])
    if filecmp.cmp(old, new, shallow=False):
        raise SystemExit(f"{new} is the same as {old}")


def peak_bytes(command, status=0):
    """The most memory that a run has resident, the pages of mapped files included.

    Python's own wait4() won't do: a child's peak is never below that of the process it was forked
    from, and Python is larger than most runs.
    """
    report = DATA / "peak.txt"
    run_quietly(["time", "-q", "-f", "%M", "-o", str(report), *command], status)
    return 1024 * int(report.read_text())


def file_bytes(folder):
    """Bytes of the stream, the memory file and the contents that it spells."""
    names = ("in.bit", "firmware.mem", "firmware.bin")
    return sum((folder / name).stat().st_size for name in names)


def compare_with_copy(name, stream, rounds, is_fresh):
    """A row for a run in turn with cp, their outputs being in the same folder."""
    folder = make_stream(stream)
    copied, limit = YARDSTICKS[name]
    ours = ramgraft_command(folder)
    copy = ["cp", *(str(folder / file) for file in copied), str(folder / "saved")]
    outputs = [[ours[-1]], [str(folder / "saved" / file) for file in copied]]
    time, copy_time = time_in_turn([ours, copy], outputs, rounds, is_fresh)
    check_output(folder)
    run = f"{name}, new file" if is_fresh else name
    yardstick = "`cp` of " + " and ".join(f".{file.rpartition('.')[2]}" for file in copied)
    return Row(run, stream.describe(), yardstick, time, copy_time, limit, peak_bytes(ours),
               file_bytes(folder))


class Contestant(NamedTuple):
    """One of several runs that are compared with each other."""

    name: str
    stream: Stream
    folder: Path
    limit: float = 1


def compare_runs(contestants, rounds, is_fresh):
    """A row for each of several runs in turn, the first one the yardstick."""
    commands = [ramgraft_command(contestant.folder) for contestant in contestants]
    outputs = [[command[-1]] for command in commands]
    times = time_in_turn(commands, outputs, rounds, is_fresh)
    for contestant, command, time in zip(contestants, commands, times):
        check_output(contestant.folder)
        run = f"{contestant.name}{', new file' if is_fresh else ''}"
        yield Row(run, contestant.stream.describe(), contestants[0].name, time, times[0],
                  contestant.limit, peak_bytes(command), file_bytes(contestant.folder))


def compare_growth(whole, rounds, is_fresh):
    """Rows for S4: a quarter, half and all of the EBRs listed, the first one the yardstick."""
    bit_file = make_stream(whole) / "in.bit"
    streams = [whole._replace(listed=whole.sections // parts) for parts in (4, 2, 1)]
    folders = [make_stream(stream, bit_file) for stream in streams]
    bytes_read = [sum((folder / name).stat().st_size for name in STREAM_AND_MEMORY)
                  for folder in folders]
    contestants = [Contestant(f"S4, {stream.listed}", stream, folder, size / bytes_read[0])
                   for stream, folder, size in zip(streams, folders, bytes_read)]
    return compare_runs(contestants, rounds, is_fresh)


def compare_alignment(aligned, unaligned, rounds, is_fresh):
    """A row for S3u, in turn with S3."""
    contestants = [Contestant("S3", aligned, make_stream(aligned)),
                   Contestant("S3u", unaligned, make_stream(unaligned), UNALIGNED_LIMIT)]
    return list(compare_runs(contestants, rounds, is_fresh))[1:]


def compare_inspection(name, inspection, stream, rounds):
    """A row for a run of ramgraft-inspect in turn with one of ramgraft that writes a new file."""
    folder = make_stream(stream)
    run_quietly(ramgraft_command(folder, GRAFTED))
    ours = [str(INSPECT), inspection.subcommand, *(str(folder / file) for file in inspection.files)]
    graft = ramgraft_command(folder)
    time, graft_time = time_in_turn([ours, graft], [[], [graft[-1]]], rounds, True,
                                    {0, inspection.status})
    return Row(name, stream.describe(), f"{inspection.stream}, new file", time, graft_time,
               inspection.limit, peak_bytes(ours, inspection.status), file_bytes(folder))


def make_memories(stream, count):
    """A folder with a map of `count` memories, each like that of `stream`, and their contents."""
    count = min(count, stream.sections // stream.listed)
    folder = make_stream(stream._replace(listed=count * stream.listed))
    wids = (folder / "ram.wid").read_text().split()[:-1]
    image = (folder / "firmware.bin").read_bytes()
    size, design = stream.words * stream.listed, "version = 1\n"  # an EBR has 8 bits of a word
    for number in range(count):
        part = image[number * size:(number + 1) * size]
        files = {"wid": [*wids[number * stream.listed:][:stream.listed],
                         f"aw{(stream.words - 1).bit_length()};dw{8 * stream.listed}"],
                 "mem": [part[at:at + stream.listed].hex() for at in range(0, size, stream.listed)]}
        for kind, lines in files.items():
            (folder / f"m{number}.{kind}").write_text("\n".join(lines) + "\n")
        (folder / f"m{number}.bin").write_bytes(part)
        design += (f'[memory.m{number}]\nbase = {number * size}\nwords = {stream.words}\n'
                   f'order = "big"\nwid = "m{number}.wid"\n')
    (folder / "design.toml").write_text(design)
    return folder, count


def check_load(folder, count):
    """Stops unless the output is that of a chain of runs."""
    chain = folder / "saved/chain.bit"
    shutil.copyfile(folder / "in.bit", chain)
    for number in range(count):
        files = (folder / f"m{number}.{kind}" for kind in ("wid", "mem"))
        run_quietly([RAMGRAFT, chain, *files, chain])
    if not filecmp.cmp(chain, folder / "saved/out.bit", shallow=False):
        raise SystemExit(f"{folder / 'saved/out.bit'} differs from {chain}")


def load_command(folder, *contents):
    return [str(LOAD), "-o", str(folder / "saved/out.bit"), str(folder / "design.toml"),
            str(folder / "in.bit"), *contents]


def compare_load(name, stream, rounds):
    """A row for a run of ramgraft-load in turn with one of ramgraft, both to new files."""
    graft = ramgraft_command(make_stream(stream), "saved/graft.bit")
    memories, limit = LOADS.get(name, (1, 0))
    folder, count = make_memories(stream, memories)
    ours = load_command(folder, *(f"m{i}={folder}/m{i}.bin" for i in range(count)))
    if name == "load-elf":
        elf = folder / "firmware.elf"
        symbols = {f"variable_with_a_long_name_{i:06}": 4 * i for i in range(ELF_SYMBOLS)}
        elf.write_bytes(make_firmware.make_elf((folder / "m0.bin").read_bytes(), b"", symbols))
        ours = load_command(folder, "--any-byte-order", "--set",
                            "variable_with_a_long_name_000001=u32:1", str(elf))
    time, graft_time = time_in_turn([ours, graft], [[ours[2]], [graft[-1]]], rounds, True)
    if name != "load-elf":
        check_load(folder, count)
    return Row(name, f"{stream.describe()}{', six times' if count == 6 else ''}", "S1, new file",
               time, graft_time, limit or (graft_time + ELF_EXTRA_MS) / graft_time,
               peak_bytes(ours), file_bytes(folder))


def compare_map(name, stream, rounds):
    """A row for a run of locate that writes a map and width files, in turn with one of ramgraft."""
    each = stream._replace(listed=stream.sections // MAP_MEMORIES)
    folder, count = make_memories(each, MAP_MEMORIES)
    contents = [f"m{i}={folder}/m{i}.mem" for i in range(count)]
    for number in range(count):
        run_quietly([INSPECT, "random", f"--words={each.words}", f"--data-width={8 * each.listed}",
                     f"--seed={number + 1}", "-o", folder / f"m{number}.mem"])
    run_quietly(load_command(folder, *contents))
    saved = folder / "saved"
    ours = [str(INSPECT), "locate", "--map", f"{saved}/located.toml", f"{saved}/out.bit", *contents]
    graft = ramgraft_command(make_stream(stream))
    made = ["located.toml", *(f"m{i}.wid" for i in range(count))]
    time, graft_time = time_in_turn([ours, graft], [[f"{saved}/{file}" for file in made],
                                                    [graft[-1]]], rounds, True)
    for number in range(count):
        lines = [(place / f"m{number}.wid").read_text().replace("0b", "")
                 for place in (folder, saved)]
        if lines[0] != lines[1]:
            raise SystemExit(f"{saved}/m{number}.wid isn't {folder}/m{number}.wid")
    (saved / "located.toml").unlink()
    return Row(name, f"{stream.describe()}, {count} memories", "S3, new file", time, graft_time,
               MAP_LIMIT, peak_bytes(ours), file_bytes(folder))


def compare_fill(name, stream, rounds):
    """A row for a stream of another fill, which isn't kept: with its output it may take 512 MB."""
    row = compare_with_copy(name, stream, rounds, is_fresh=True)
    shutil.rmtree(stream.folder())
    return row


def measure(names, streams, rounds):
    """The rows for the names in ROWS."""
    for is_fresh in (False, True):
        for name in names:
            if name == "S3u":
                unaligned = streams["S3"]._replace(identifier_bits=16)
                yield from compare_alignment(streams["S3"], unaligned, rounds, is_fresh)
            elif name == "S4":
                yield from compare_growth(streams["S3"], rounds, is_fresh)
            elif name in streams:
                yield compare_with_copy(name, streams[name], rounds, is_fresh)
            elif name in INSPECTIONS:
                if is_fresh:
                    inspection = INSPECTIONS[name]
                    yield compare_inspection(name, inspection, streams[inspection.stream], rounds)
            elif name == "locate-map":
                if is_fresh:
                    yield compare_map(name, streams["S3"], rounds)
            elif name.startswith("load"):
                if is_fresh:
                    yield compare_load(name, streams["S1"], rounds)
            elif is_fresh:
                size, _, fill = name.partition("-")
                yield compare_fill(name, streams[size]._replace(fill=fill), rounds)


def first_line(command):
    """The first line that a command prints; None if it fails, as findmnt does in a chroot."""
    try:
        result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                text=True, errors="replace", check=True)
    except (OSError, subprocess.CalledProcessError):
        return None
    return result.stdout.partition("\n")[0].strip()


def cpu_name():
    try:
        lines = Path("/proc/cpuinfo").read_text(encoding="utf-8").splitlines()
    except OSError:
        lines = []
    return next((line.partition(":")[2].strip() for line in lines
                 if line.startswith("model name")), platform.machine())


def describe_machine():
    """What the times depend on, as far as the machine says it."""
    facts = (f"{cpu_name()}, {os.cpu_count()} cores",
             f"Linux {platform.release()}",
             first_line(["findmnt", "-n", "-o", "FSTYPE", "-T", str(DATA)]),
             first_line(["c++", "--version"]))
    return "; ".join(fact for fact in facts if fact)


def print_table(rows):
    """Prints each row as soon as it was measured; returns the names of those over their limit."""
    print("| Run | Stream | Yardstick | time, ms | yardstick, ms | Ratio | Limit "
          "| Peak memory, MB | .bit + .mem + contents, MB |")
    print("|---|---|---|--:|--:|--:|--:|--:|--:|", flush=True)
    over = []
    for row in rows:
        print(f"| {row.run} | {row.stream} | {row.yardstick} | {row.time:.2f} "
              f"| {row.yardstick_time:.2f} | {row.time / row.yardstick_time:.2f} "
              f"| {row.limit:.3g} | {row.peak_bytes / 1e6:.1f} | {row.file_bytes / 1e6:.1f} |",
              flush=True)
        if row.is_over:
            over.append(row.run)
    return over


def parse_options():
    parser = argparse.ArgumentParser(description="Time the release build against yardsticks.")
    parser.add_argument("--quick", action="store_true", help="only see that everything works")
    parser.add_argument("--rounds", metavar="N", type=int,
                        help=f"runs that count, of each side (default: {ROUNDS})")
    parser.add_argument("--only", metavar="ROW", nargs="+", choices=ROWS, default=ROWS,
                        help=f"measure only these of {', '.join(ROWS)}")
    options = parser.parse_args()
    if options.rounds is None:
        options.rounds = QUICK_ROUNDS if options.quick else ROUNDS
    if options.rounds < 1:
        parser.error("--rounds must be at least 1")
    return options


def main():
    options = parse_options()
    DATA.mkdir(parents=True, exist_ok=True)
    print(f"{describe_machine()}\n")
    streams = QUICK_STREAMS if options.quick else STREAMS
    over = print_table(measure(options.only, streams, options.rounds))
    if over and not options.quick:
        print(f"\nOver the limit: {'; '.join(over)}")


if __name__ == "__main__":
    main()
