#!/usr/bin/env python3
"""Times whole runs over sizes from 0.1 to 256 MB against cp and against two generic patchers that
apply a ready-made difference, and draws docs/performance.svg.

    bench/plot.py [--rounds N] [--largest MB]

All write new files. The same numbers give the same picture, to the byte.
"""

import argparse
import bz2
import shutil
import struct
from pathlib import Path

import compare
import matplotlib

matplotlib.use("svg")
matplotlib.rcParams.update({
    "svg.hashsalt": "ramgraft", "svg.fonttype": "none", "font.family": "sans-serif"})
from matplotlib import pyplot  # noqa: E402  pylint: disable=wrong-import-position

MEGABYTES = (0.1, 0.3, 1, 2, 4, 16, 64, 256)
SERIES = {"ramgraft": ("#d9822b", "o"), "cp": ("#57606a", "s"),
          "xdelta3 -d": ("#4078c0", "^"), "bspatch": ("#6f42c1", "v")}


def stream_of(megabytes):
    """As full of EBRs as the 2 MB example, up to 1000 of them."""
    size = int(megabytes * 1_000_000)
    sections = max(8, min(1000, size * 208 // 2_000_000))
    return compare.Stream(size, sections, max(1, sections * 32 // 208))


def write_bsdiff(old, new, patch):
    """What bsdiff would write for files that differ in single bytes only, without its hours."""
    old, new = old.read_bytes(), new.read_bytes()
    difference = bytearray(len(new))
    for begin in range(0, len(new), 4096):
        end = min(begin + 4096, len(new))
        if old[begin:end] != new[begin:end]:
            difference[begin:end] = bytes(
                (b - a) % 256 for a, b in zip(old[begin:end], new[begin:end]))
    control = bz2.compress(struct.pack("<qqq", len(new), 0, 0))
    body = bz2.compress(bytes(difference))
    patch.write_bytes(b"BSDIFF40" + struct.pack("<qqq", len(control), len(body), len(new))
                      + control + body + bz2.compress(b""))


def commands_for(folder):
    """The command of each series and the file that it writes; the outputs are all the same."""
    old, out = folder / "in.bit", folder / "saved"
    ours = compare.ramgraft_command(folder)
    compare.run_quietly(ours)
    new = Path(ours[-1])
    delta, patch = folder / "difference.vcdiff", folder / "difference.bsdiff"
    compare.run_quietly(["xdelta3", "-f", "-e", "-s", old, new, delta])
    write_bsdiff(old, new, patch)
    commands = {"ramgraft": ours, "cp": ["cp", str(old), str(out / "copy.bit")],
                "xdelta3 -d": ["xdelta3", "-f", "-d", "-s", str(old), str(delta),
                               str(out / "xdelta.bit")],
                "bspatch": ["bspatch", str(old), str(out / "bspatch.bit"), str(patch)]}
    outputs = {"ramgraft": str(new), "cp": str(out / "copy.bit"),
               "xdelta3 -d": str(out / "xdelta.bit"), "bspatch": str(out / "bspatch.bit")}
    for name in ("xdelta3 -d", "bspatch"):
        compare.run_quietly(commands[name])
        if not compare.filecmp.cmp(new, outputs[name], shallow=False):
            raise SystemExit(f"{name} doesn't make {new}")
    return commands, outputs


def measure(sizes, rounds):
    """The median times of each series in milliseconds, in the order of the sizes."""
    times = {name: [] for name in SERIES}
    for megabytes in sizes:
        folder = compare.make_stream(stream_of(megabytes))
        commands, outputs = commands_for(folder)
        medians = compare.time_in_turn(list(commands.values()),
                                       [[output] for output in outputs.values()], rounds, True)
        compare.check_output(folder)
        for name, time in zip(commands, medians):
            times[name].append(time)
        print(f"| {megabytes:g} | " + " | ".join(f"{time:.2f}" for time in medians) + " |",
              flush=True)
        shutil.rmtree(folder)
    return times


def draw(sizes, times, path):
    figure, axes = pyplot.subplots(figsize=(8, 4.5))
    for name, (color, marker) in SERIES.items():
        axes.loglog(sizes, times[name], label=name, color=color, marker=marker)
    axes.set_xlabel("bitstream, MB")
    axes.set_ylabel("whole run, to a new file, ms")
    axes.set_xticks(sizes, [f"{size:g}" for size in sizes])
    axes.yaxis.set_major_formatter(matplotlib.ticker.StrMethodFormatter("{x:g}"))
    axes.minorticks_off()
    axes.grid(color="#d8dee4")
    axes.legend(frameon=False)
    figure.patch.set_facecolor("#ffffff")
    figure.savefig(path, bbox_inches="tight", metadata={"Date": None, "Creator": None})


def main():
    parser = argparse.ArgumentParser(description="Draw time against size.")
    parser.add_argument("--rounds", metavar="N", type=int, default=15,
                        help="runs that count, of each program (default: 15)")
    parser.add_argument("--largest", metavar="MB", type=float, default=MEGABYTES[-1],
                        help="leave out larger streams, and the picture")
    options = parser.parse_args()
    sizes = [size for size in MEGABYTES if size <= options.largest]
    compare.DATA.mkdir(parents=True, exist_ok=True)
    print(f"{compare.describe_machine()}\n\n| MB | {' | '.join(SERIES)} |\n"
          f"|--:|{'--:|' * len(SERIES)}", flush=True)
    times = measure(sizes, options.rounds)
    picture = compare.ROOT / "docs/performance.svg"
    draw(sizes, times, picture if len(sizes) == len(MEGABYTES) else compare.DATA / "plot.svg")


if __name__ == "__main__":
    main()
