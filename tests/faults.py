#!/usr/bin/env python3
# Nothing lost, whatever happens: runs the tool while what it asks of the system goes wrong.
#
#     faults.py RAMGRAFT FAULTSHIM [unittest options]
#
# RAMGRAFT must be linked dynamically, so that FAULTSHIM (faultshim.cpp) can stand between it and
# the C library. Faults.check() says what holds after every run, whatever went wrong.

import os
import shutil
import sys
import tempfile
import unittest
from concurrent.futures import ThreadPoolExecutor
from errno import (EACCES, EBADF, EFBIG, EINTR, EIO, EISDIR, ELOOP, ENAMETOOLONG, ENOENT, ENOSPC,
                   ENOTDIR)
from pathlib import Path
from resource import RLIMIT_FSIZE, setrlimit
from signal import SIG_DFL, SIG_IGN, SIGHUP, SIGINT, SIGKILL, SIGTERM, signal
from subprocess import PIPE, run

# An EBR's commands up to the payload of one frame; the payload with its CRC before and after.
COMMANDS = bytes.fromhex("F6 00 00 00 00 00 28 00 B2 D0 00 01")
OLD, NEW = bytes(11), bytes.fromhex("1D 03 C0 00 00 00 00 00 00 07 FD")
TEXT_FILES = {"ram.wid": b"0b000000101\naw10;dw8\n", "words.mem": b"#\n5C\nF0\n"}
SMALL, LARGE, MAPPED = 1, 2 << 20, 16 << 20  # filler bytes; from MAPPED on the stream is mapped
LOADING = "STATUS: loading input files\n"
PROCESSING = f"{LOADING}STATUS: input files loaded successfully\nSTATUS: processing bitstream\n"
PROGRESS = f"{PROCESSING}STATUS: Replacing contents of EBR ID# 000000101 (1/1)\n"
# For runs that need permissions to count, or that a wrong tool could let replace a file in /dev.
OTHER_USER = {"user": 65534, "group": 65534, "extra_groups": []} if os.geteuid() == 0 else {}
MODE = 0o4640 if OTHER_USER else 0o640  # the system takes the 4000 away when others write in place
LIMIT = {"preexec_fn": lambda: setrlimit(RLIMIT_FSIZE, (1 << 20,) * 2)}

NO_UNNAMED = os.O_TMPFILE & ~os.O_DIRECTORY  # what a folder can't have
NO_NEW = NO_UNNAMED | os.O_CREAT  # so that an old file is written in place
SHORT, CUT, TOUCH = 1000, 1001, 1002  # faults beside error numbers and negated signal numbers
FAULTS = {0: [EIO, EACCES, -SIGKILL, -SIGINT], NO_NEW: [EIO, EACCES, -SIGTERM, -SIGHUP],
          NO_UNNAMED: [EIO, EACCES, -SIGKILL, -SIGINT, -SIGTERM, -SIGHUP]}
HARMLESS = {"read": [SHORT, EINTR], "write": [SHORT, EINTR], "close": [EINTR]}
CASES = [("nothing", SMALL, 0), ("nothing", SMALL, NO_UNNAMED), ("file", SMALL, 0),
         ("file", SMALL, NO_UNNAMED), ("in.bit", SMALL, 0), ("in.bit", SMALL, NO_UNNAMED),
         ("symlink", SMALL, 0), ("dangling symlink", SMALL, NO_UNNAMED), ("hard link", SMALL, 0),
         ("file", SMALL, NO_NEW), ("in.bit", SMALL, NO_NEW), ("hard link", SMALL, NO_NEW),
         ("file", MAPPED, 0), ("in.bit", MAPPED, NO_NEW)]


# A folder with a run's input files, in which the output path leads to `kind`.
class Stage:
    def __init__(self, kind="file", filler=SMALL, lacking=0, mode=MODE, folder=0o777, names=()):
        self.kind, self.lacking, self.folder = kind, lacking, Path(tempfile.mkdtemp(dir=BASE))
        self.inputs = {"in.bit": b"\xff" * filler + COMMANDS + OLD, **TEXT_FILES}
        for name, data in self.inputs.items():
            (self.folder / name).write_bytes(data)
        (self.folder / "sub/fd").mkdir(parents=True)
        to = self.folder / "sub" if "dangling" in kind else Path()
        (self.folder / "sub/fd/link").symlink_to(to / "to.bit")  # no name of a descriptor
        self.path = self.folder / (kind if kind in self.inputs else "out.bit")
        if kind == "hard link":
            os.link(self.folder / "in.bit", self.path)
        elif "link" in kind:
            self.path.symlink_to("out.bit" if "loop" in kind else "sub/fd/link")
        self.target = Path(os.path.realpath(self.path))
        if kind in ("file", "symlink"):
            self.target.write_bytes(b"what was there before\n" * 3)
        if self.target.exists():
            os.chown(self.target, OTHER_USER.get("user", -1), -1)
            self.target.chmod(mode)
        self.folder.chmod(folder)
        self.old = self.output()
        self.new = (self.inputs["in.bit"][:-len(OLD)] + NEW,
                    *(self.old or [0, 0o644, os.geteuid(), "symlink" in kind])[1:])
        self.arguments = [dict(names).get(place, name)
                          for place, name in enumerate([*self.inputs, self.path.name])]

    # Contents, mode and owner of the output, and whether a symlink leads to it.
    def output(self):
        return self.target.exists() and (
            self.target.read_bytes(), self.target.stat().st_mode & 0o7777,
            self.target.stat().st_uid, self.path.is_symlink())

    # Runs the tool, its call number `at` meeting the fault. The exit status.
    def run(self, at=0, fault=0, **options):
        before = {*self.folder.rglob("*"), self.target}
        with tempfile.TemporaryFile("w+") as log:
            setting = f"{at} {int(fault)} {self.lacking} {log.fileno()}"
            ran = run([RAMGRAFT, *self.arguments], cwd=self.folder, timeout=60, stderr=PIPE,
                      env={**os.environ, "LD_PRELOAD": SHIM, "FAULT": setting},
                      **{"stdout": PIPE, "pass_fds": [log.fileno()], **options})
            log.seek(0)
            self.calls = [line.split() for line in log]
        self.said = (ran.stdout or b"").decode("latin-1")
        self.reasons = "".join(line for line in ran.stderr.decode().splitlines(True)
                               if "profiling" not in line)  # what a coverage build may add
        self.left = {*self.folder.rglob("*")} - before
        return ran.returncode


class Faults(unittest.TestCase):
    # Runs the stage, whose `call`, number `at`, meets the fault; with `at` 0 the fault is what goes
    # wrong by itself. A status not given is 0 or 1. The names of the calls made.
    def check(self, stage, wanted=None, fault=0, at=0, call="", may_leave=False, **options):
        status, output, out = stage.run(at, fault, **options), stage.output(), stage.arguments[3]
        # In place, the new contents may stand and only their arrival on the disk be in doubt.
        outputs = {0: [stage.new], 1: [stage.old] + [stage.new] * (stage.lacking == NO_NEW)}
        if call == "fchown":  # nobody else gets the right to run as the owner
            outputs[0].append((stage.new[0], stage.new[1] & 0o777, os.geteuid(), stage.new[3]))
        # A hard link of the input, written in place, is the input.
        is_input = stage.kind == "hard link" and (at > 0 or stage.lacking == NO_NEW)
        written = {"in.bit" if is_input else stage.kind: output and output[0]}
        reason = os.strerror(fault)
        unread = [f"{c}an't open file {name}" if call == "open" else
                  f"can't read file {name}: {reason}" for c, name in zip("cCC", stage.arguments)]
        texts = {0: [f"{PROGRESS}STATUS: Successfully wrote {out}\n"],
                 1: [f"{PROGRESS}ERROR: Can't write file {out}\n{out}: {reason}\n",
                     *(f"{LOADING}ERROR: {line}\n" for line in unread)]}
        facts = {
            "status": status == wanted or wanted is None and status in (0, 1),
            "output": output in outputs.get(status, [stage.old, stage.new]),
            "inputs": all((stage.folder / name).read_bytes() in (data, written.get(name, data))
                          for name, data in stage.inputs.items()),
            # A signal that can wait doesn't end a run before it has told what it did.
            "messages": stage.said + stage.reasons in texts.get(status, []) if status >= 0 else
                        status == -SIGKILL or (output == stage.new) == ("Success" in stage.said),
            "temporary, readable by no others": all(
                may_leave and path.match(f".ramgraft-{'[0-9a-f]' * 16}.tmp") and
                path.stat().st_mode & 0o777 & ~stage.new[1] == 0 for path in stage.left)}
        self.assertTrue(all(facts.values()), (
            facts, stage.kind, stage.lacking, stage.arguments, f"fault {fault} at {at} ({call})",
            f"status {status}", stage.said[-999:], stage.reasons, stage.left))
        if stage.left:
            self.check(stage, 0)
        return [name for name, _ in stage.calls]

    def test_calls_going_wrong(self):
        def attempt(case, calls, at, call, fault):
            has_name = case[2] == NO_UNNAMED or "linkat" in calls[:at - 1]
            is_loss = call in ("fsync", "read") or at - 1 == calls.index("close", calls.index("write"))
            is_harmless = fault == -SIGHUP or fault in HARMLESS.get(call, [])  # SIGHUP is ignored
            status = 0 if is_harmless else fault if fault < 0 else 1 if is_loss else None
            stage = Stage(*case)
            self.check(stage, status, fault, at, call, has_name and fault == -SIGKILL)
            shutil.rmtree(stage.folder)

        for case in CASES:
            kind, _, lacking = case
            calls = self.check(Stage(*case), 0)
            del calls[len(calls) - calls[::-1].index("close"):]  # what a coverage build adds
            if not lacking:  # a temporary has a name for a moment only
                self.assertIn("linkat close renameat", " ".join(calls), f"no O_TMPFILE in {BASE}?")
            # Flushing costs much, and only an input can't be made again.
            to_rename = calls if lacking == NO_NEW else calls[:calls.index("renameat")]
            self.assertEqual([to_rename.count("fsync"), calls.count("fsync")],
                             [kind in ("in.bit", "hard link")] * 2, case)
            with self.subTest(case), ThreadPoolExecutor(os.cpu_count()) as pool:
                list(pool.map(lambda job: attempt(case, calls, *job),
                              [(at, call, fault) for at, call in enumerate(calls, 1)
                               if case[1] < MAPPED or call in ("mmap", "madvise")
                               for fault in FAULTS[lacking] + HARMLESS.get(call, [])]))

    def test_conditions(self):
        rows = [(Stage("nothing", names={3: "/dev/full"}), ENOSPC, OTHER_USER),
                (Stage(mode=0o640, folder=0o555), 0, OTHER_USER),
                (Stage("in.bit", LARGE, mode=0o640, folder=0o555), EFBIG, {**LIMIT, **OTHER_USER}),
                (Stage("nothing", folder=0o555), EACCES, OTHER_USER),
                (Stage(mode=0o440), EACCES, OTHER_USER), (Stage("looping symlink"), ELOOP, {})]
        rows += [(Stage(kind, LARGE, lacking), EFBIG, LIMIT) for kind in ("file", "in.bit")
                 for lacking in FAULTS]
        rows += [(Stage(names={3: name}), reason, {}) for name, reason in
                 {"": ENOENT, "no/x": ENOENT, "no/": ENOENT, "sub/": EISDIR, "out.bit/": ENOTDIR,
                  "n" * 256: ENAMETOOLONG, "/proc/self/fd/1x": ENOENT, "/proc/self/fd/99": EBADF,
                  "/proc/thread-self/fd/99": ENOENT}.items()]
        rows += [(Stage(name, mode=0o600), 0, {}) for name in TEXT_FILES]
        rows += [(Stage(names={place: "/dev/stdin"}), EISDIR, {"preexec_fn": lambda: os.close(0)})
                 for place in range(3)]
        if OTHER_USER:  # else this script can't read the output either
            rows += [(Stage("file", LARGE, 0, 0o200, 0o555), EACCES, {**LIMIT, **OTHER_USER}),
                     (Stage(mode=0o666, folder=0o1777), 0, {**OTHER_USER, "user": 65533})]
        for place, data in enumerate(Stage("file", LARGE).inputs.values()):
            rows += [(Stage("file", LARGE, names={place: name}), reason, {"input": data})
                     for name, reason in {"sub": EISDIR, "/dev/stdin": 0, "/dev/fd/0": 0}.items()]
        for stage, reason, options in rows:
            self.check(stage, int(reason > 0), reason, **options)

    def test_mounts(self):
        full = "-t tmpfs -o size=64k none sub/fd"
        for stage, options, status in [(Stage("dangling symlink", LARGE), full, 1),
                                       (Stage("dangling symlink", LARGE, NO_UNNAMED), full, 1),
                                       (Stage(), "--bind out.bit out.bit", 0)]:
            mount = ["mount", *options.split()]
            if run(mount, cwd=stage.folder).returncode != 0:
                self.skipTest("can't mount")
            self.addCleanup(run, ["umount", mount[-1]], cwd=stage.folder, check=True)
            self.check(stage, status, ENOSPC)

    def test_temporary_of_another(self):
        for lacking in 0, NO_UNNAMED:
            at, stage = self.check(Stage(lacking=lacking), 0).index("getrandom") + 1, Stage()
            stage.lacking = lacking
            # Takes the name that a run without random numbers chooses.
            status = stage.run(at, EIO, preexec_fn=lambda: Path(
                f".ramgraft-{os.getpid():016x}.tmp").touch())
            self.assertEqual((status, stage.reasons, stage.output(), len(stage.left)),
                             (1, "out.bit: File exists\n", stage.old, 1))

    def test_written_directly(self):
        stage = Stage(names={3: "fifo"})
        os.mkfifo(stage.folder / "fifo")
        reader = os.open(stage.folder / "fifo", os.O_RDONLY | os.O_NONBLOCK)
        self.assertEqual((stage.run(), os.read(reader, 999)), (0, stage.new[0]))
        for name, user in {"/dev/fd/1": OTHER_USER, "/dev/stdout": OTHER_USER,
                           "/proc/self/fd/1": {}}.items():
            stage = Stage(names={3: name}, mode=0o640)
            told = f"{PROGRESS}%sSTATUS: Successfully wrote {name}\n".encode() % stage.new[0]
            self.assertEqual((stage.run(**user), stage.said.encode("latin-1")), (0, told))
            for mode, before in ("ab", stage.old[0]), ("wb", b""):
                with open(stage.target, mode) as target:
                    self.assertEqual((stage.run(stdout=target, **user), stage.output()[0]),
                                     (0, before + told))
        self.assertEqual(stage.run(preexec_fn=lambda: os.close(1), **OTHER_USER), 1)
        stage = Stage("in.bit", LARGE, names={3: "/dev/fd/0"})
        with open(stage.target, "r+b") as target:
            target.seek(5)
            self.assertEqual((stage.run(stdin=target), stage.output()), (1, stage.old))

    def test_standard_streams(self):
        for closed in {0}, {1}, {2}, {0, 1, 2}:
            stage = Stage()
            options = {"preexec_fn": lambda: [*map(os.close, closed)]}
            self.assertEqual((stage.run(**options), stage.output()), (0, stage.new), closed)
            # None of the run's files may stand where messages go.
            opened = [int(result) for name, result in stage.calls if name.startswith("open")]
            self.assertEqual({*opened[:len(closed)]}, closed)
            self.assertGreater(min(opened[len(closed):]), 2)
        source, sink = os.pipe()
        os.close(source)
        for stream in sink, os.open("/dev/full", os.O_WRONLY):
            stage = Stage()
            self.assertEqual((stage.run(stdout=stream), stage.output()), (0, stage.new))
            self.assertRegex(stage.reasons, r"\AWARNING: can't write to standard output: .*\n\Z")
        # A line is seen at once, and what others write to the pipe doesn't come into its middle.
        source, sink = os.pipe2(os.O_DIRECT)  # keeps apart what was written apart
        self.assertEqual(Stage().run(stdout=sink), 0)
        os.close(sink)
        lines = [line.decode() for line in iter(lambda: os.read(source, 9999), b"")]
        self.assertEqual(lines, f"{PROGRESS}STATUS: Successfully wrote out.bit\n".splitlines(True))

    def test_input_written_to(self):
        cut, *changed = (f"ERROR: can't read file {name}: it was {what} while in use\n"
                         for name, what in [("in.bit", "cut short"), ("ram.wid", "changed"),
                                            ("words.mem", "changed"), ("in.bit", "changed")])
        for filler, fault in (SMALL, CUT), (MAPPED, CUT), (SMALL, TOUCH), (MAPPED, TOUCH):
            calls = self.check(Stage("file", filler), 0)
            loaded, written = calls.index("stat"), calls.index("write") + 1
            looked_last = len(calls) - calls[::-1].index("stat")
            said = dict.fromkeys(range(loaded, looked_last + 1), PROGRESS + changed[-1])
            looks = [at for at, call in enumerate(calls) if call == "fstat"]  # around each reading
            for file in range(0 if fault == TOUCH else 2, 3 if filler == SMALL else 2):
                said.update(dict.fromkeys(range(looks[2 * file] + 2, looks[2 * file + 1] + 2),
                                          LOADING + changed[file]))
            if (filler, fault) == (MAPPED, CUT):
                said.update(dict.fromkeys(range(loaded + 2, written + 1), PROGRESS + cut))
                said[loaded] = PROCESSING + cut
            for at, text in said.items():
                stage = Stage("file", filler)
                self.assertEqual((stage.run(at, fault), stage.said, stage.output(), stage.left),
                                 (1, text, stage.old, set()), (at, fault))


if __name__ == "__main__":
    os.umask(0o022)
    for ending, action in (SIGHUP, SIG_IGN), (SIGINT, SIG_DFL), (SIGTERM, SIG_DFL):
        signal(ending, action)  # a background job may have been told otherwise
    with tempfile.TemporaryDirectory() as name:
        BASE = Path(name)
        BASE.chmod(0o755)
        RAMGRAFT, SHIM = (shutil.copy(path, BASE) for path in sys.argv[1:3])  # for the other user
        unittest.main(argv=sys.argv[:1] + sys.argv[3:])
