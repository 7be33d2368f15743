#!/usr/bin/env python3
"""Nothing lost, whatever happens: runs the tool while what it asks of the system goes wrong.

    faults.py RAMGRAFT FAULTSHIM [unittest options]

RAMGRAFT must be linked dynamically, so that FAULTSHIM (faultshim.cpp) can stand between it and the
C library. Faults.check() says what holds after every run, whatever went wrong.
"""

import os
import resource
import shutil
import subprocess
import sys
import tempfile
import unittest
from concurrent.futures import ThreadPoolExecutor
from errno import EACCES, EFBIG, EINTR, EIO, EISDIR, ELOOP, ENOSPC
from pathlib import Path
from signal import SIG_DFL, SIG_IGN, SIGHUP, SIGINT, SIGKILL, SIGTERM, signal

# An EBR's commands up to the payload of one frame; the payload with its CRC before and after.
COMMANDS = bytes.fromhex("F6 00 00 00 00 00 28 00 B2 D0 00 01")
OLD, NEW = bytes(11), bytes.fromhex("1D 03 C0 00 00 00 00 00 00 07 FD")
TEXT_FILES = {"ram.wid": b"0b000000101\naw10;dw8\n", "words.mem": b"5C\nF0\n"}
SMALL, MAPPED, LARGE = 1, 300 << 10, 2 << 20  # filler bytes; from MAPPED on the stream is mapped
LOADING = "STATUS: loading input files\n"
PROCESSING = f"{LOADING}STATUS: input files loaded successfully\nSTATUS: processing bitstream\n"
PROGRESS = f"{PROCESSING}STATUS: Replacing contents of EBR ID# 000000101 (1/1)\n"
# For runs that need permissions to count, or that a wrong tool could let replace a file in /dev.
OTHER_USER = {"user": 65534, "group": 65534, "extra_groups": []} if os.geteuid() == 0 else {}
MODE = 0o4640 if OTHER_USER else 0o640  # the system takes the 4000 away when others write in place

NO_UNNAMED = os.O_TMPFILE & ~os.O_DIRECTORY  # what a folder can't have
NO_NEW = NO_UNNAMED | os.O_CREAT
SHORT, CUT, TOUCH = 1000, 1001, 1002  # faults beside error numbers and negated signal numbers
FAULTS = [EIO, EACCES, -SIGKILL, -SIGINT]
HARMLESS = {"read": [SHORT, EINTR], "write": [SHORT, EINTR], "close": [EINTR]}
CASES = [("nothing", SMALL, 0), ("nothing", MAPPED, NO_UNNAMED), ("file", MAPPED, 0),
         ("file", SMALL, NO_UNNAMED), ("input", SMALL, 0), ("input", MAPPED, NO_UNNAMED),
         ("symlink", SMALL, 0), ("dangling symlink", SMALL, NO_UNNAMED), ("hard link", SMALL, 0),
         ("file", SMALL, NO_NEW), ("input", MAPPED, NO_NEW)]


class Stage:
    """A folder with a run's input files, in which the output path leads to `kind`."""

    def __init__(self, kind="file", filler=SMALL, lacking=0, mode=MODE, folder=0o777, names=()):
        self.kind, self.lacking, self.folder = kind, lacking, Path(tempfile.mkdtemp(dir=BASE))
        (self.folder / "sub").mkdir()
        head = b"\xff" * filler + COMMANDS
        self.inputs = {"in.bit": head + OLD, **TEXT_FILES}
        for name, data in self.inputs.items():
            (self.folder / name).write_bytes(data)
        self.path = self.target = self.folder / ("in.bit" if kind == "input" else "out.bit")
        if "symlink" in kind:
            self.path.symlink_to("sub/link")
            (self.folder / "sub/link").symlink_to("to.bit")
            self.target = self.folder / "sub/to.bit"
        if kind == "hard link":
            os.link(self.folder / "in.bit", self.path)
        if kind in ("file", "symlink"):
            self.target.write_bytes(b"what was there before\n" * 3)
        if self.target.exists():
            os.chown(self.target, OTHER_USER.get("user", -1), -1)
            self.target.chmod(mode)
        self.folder.chmod(folder)
        self.old = self.output()
        self.new = head + NEW, *(self.old or [0, 0o644, os.geteuid(), "symlink" in kind])[1:]
        self.arguments = [dict(names).get(place, name)
                          for place, name in enumerate([*self.inputs, self.path.name])]

    def output(self):
        """Contents, mode and owner of the output, and whether a symlink leads to it."""
        facts = self.target.stat() if self.target.exists() else None
        return facts and (self.target.read_bytes(), facts.st_mode & 0o7777, facts.st_uid,
                          self.path.is_symlink())

    def run(self, at=0, fault=0, **options):
        """Runs the tool, its call number `at` meeting the fault. The exit status."""
        before = {*self.folder.rglob("*"), self.target}
        with tempfile.TemporaryFile("w+") as log:
            environment = dict(os.environ, LD_PRELOAD=SHIM, FAULT_AT=str(at),
                               FAULT_KIND=str(int(fault)), FAULT_NO=str(self.lacking),
                               FAULT_LOG=str(log.fileno()))
            options = {"stdout": subprocess.PIPE, "pass_fds": [log.fileno()], **options}
            run = subprocess.run([RAMGRAFT, *self.arguments], cwd=self.folder, env=environment,
                                 stderr=subprocess.PIPE, timeout=60, **options)
            log.seek(0)
            self.calls = [line.split() for line in log]
        self.said = (run.stdout or b"").decode("latin-1")
        self.reasons = "".join(line for line in run.stderr.decode().splitlines(True)
                               if "profiling" not in line)  # what a coverage build may add
        self.left = " ".join(path.name for path in {*self.folder.rglob("*")} - before)
        return run.returncode


class Faults(unittest.TestCase):
    def check(self, stage, statuses, fault=0, at=0, call="", may_leave=False, **options):
        """Runs the stage, whose `call`, number `at`, meets the fault; with `at` 0 the fault is what
        goes wrong by itself. The names of the calls made.
        """
        status, out, new = stage.run(at, fault, **options), stage.arguments[3], stage.new
        told = (stage.kind, stage.lacking, *stage.arguments, f"fault {fault} at {at} ({call})",
                f"status {status}", stage.said[-999:], stage.reasons, stage.left)
        self.assertIn(status, statuses, told)
        # In place, the new contents may stand and only their arrival on the disk be in doubt.
        outputs = {0: [new], 1: [stage.old] + [new] * (stage.lacking == NO_NEW)}
        if call == "fchown":  # nobody else gets the right to run as the owner
            outputs[0].append((new[0], new[1] & 0o777, os.geteuid(), new[3]))
        self.assertTrue(stage.output() in outputs.get(status, [stage.old, new]), ("output", *told))
        inputs = {name: (stage.folder / name).read_bytes() for name in stage.inputs}
        self.assertTrue(inputs == stage.inputs or stage.kind == "input", ("inputs", *told))
        reason = os.strerror(fault)
        said = {f"{PROGRESS}STATUS: Successfully wrote {out}\n": 0,
                f"{PROGRESS}ERROR: Can't write file {out}\n{out}: {reason}\n": 1}
        for name in stage.arguments[:3]:
            said[f"{LOADING}ERROR: can't read file {name}: {reason}\n"] = 1
            if call == "open":
                said |= {f"{LOADING}ERROR: {c}an't open file {name}\n": 1 for c in "cC"}
        if status >= 0:
            self.assertEqual(said.get(stage.said + stage.reasons), status, ("messages", *told))
        elif status != -SIGKILL:  # a signal can't end the run before it has said what it did
            self.assertEqual(stage.output() == stage.new, "Success" in stage.said, told)
        if stage.left:
            self.assertTrue(may_leave, ("temporary", *told))
            self.assertRegex(stage.left, r"\A\.ramgraft-[0-9a-f]{16}\.tmp\Z", told)
            temporary = next(stage.folder.rglob(stage.left)).stat().st_mode & 0o777
            self.assertEqual(temporary & ~stage.new[1], 0, ("readable by others", *told))
            self.check(stage, [0])
        return [name for name, _ in stage.calls]

    def test_calls_going_wrong(self):
        for case in CASES:
            kind, _, lacking = case
            calls = self.check(Stage(*case), [0])
            del calls[len(calls) - calls[::-1].index("close"):]  # what a coverage build adds
            if not lacking:  # a temporary has a name for a moment only
                self.assertIn("linkat close renameat", " ".join(calls), f"no O_TMPFILE in {BASE}?")
            # Flushing costs much, and only an input can't be made again.
            to_rename = calls if lacking == NO_NEW else calls[:calls.index("renameat")]
            self.assertEqual([to_rename.count("fsync"), calls.count("fsync")],
                             [kind in ("input", "hard link")] * 2, case)

            def attempt(at, call, fault):
                stage, is_harmless = Stage(*case), fault in HARMLESS.get(call, [])
                has_name = lacking == NO_UNNAMED or "linkat" in calls[:at - 1]
                is_loss = call == "fsync" or at - 1 == calls.index("close", calls.index("write"))
                self.check(stage, [fault] if fault < 0 else [0] if is_harmless else
                           [1] if is_loss else [0, 1], fault, at, call,
                           may_leave=has_name and fault == -SIGKILL)
                shutil.rmtree(stage.folder)

            # A hard link that must be written in place is the input, and what is written in place
            # can't outlive a kill.
            faults = FAULTS + [-SIGTERM, -SIGHUP] * (lacking != 0)
            jobs = [(at, call, fault) for at, call in enumerate(calls, 1) if kind != "hard link"
                    for fault in faults + HARMLESS.get(call, [])
                    if lacking != NO_NEW or fault != -SIGKILL]
            with self.subTest(case), ThreadPoolExecutor(os.cpu_count()) as pool:
                list(pool.map(lambda job: attempt(*job), jobs))

    def test_hangup_ignored(self):
        self.addCleanup(signal, SIGHUP, signal(SIGHUP, SIG_IGN))
        calls = self.check(Stage("file", SMALL, NO_UNNAMED), [0])
        for at, call in enumerate(calls, 1):
            self.check(Stage("file", SMALL, NO_UNNAMED), [0], -SIGHUP, at, call)

    def test_conditions(self):
        limit = {"preexec_fn": lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 20,) * 2)}
        rows = [(Stage("nothing", names={3: "/dev/full"}), OTHER_USER, 1, ENOSPC),
                (Stage(mode=0o640, folder=0o555), OTHER_USER, 0, 0),
                (Stage("input", LARGE, mode=0o640, folder=0o555), limit | OTHER_USER, 1, EFBIG),
                (Stage("nothing", folder=0o555), OTHER_USER, 1, EACCES),
                (Stage(mode=0o440), OTHER_USER, 1, EACCES)]
        rows += [(Stage(kind, LARGE, lacking), limit, 1, EFBIG) for kind in ("file", "input")
                 for lacking in (0, NO_UNNAMED, NO_NEW)]
        if OTHER_USER:  # else this script can't read the output either
            rows.append((Stage("file", LARGE, 0, 0o200, 0o555), limit | OTHER_USER, 1, EACCES))
        for place, data in enumerate(Stage().inputs.values()):
            rows += [(Stage(names={place: "sub"}), {}, 1, EISDIR),
                     (Stage(names={place: "/dev/stdin"}), {"input": data}, 0, 0),
                     (Stage(names={place: "/dev/fd/0"}), {"input": data}, 0, 0)]
        rows.append((Stage(names={3: "loop"}), {}, 1, ELOOP))
        (rows[-1][0].folder / "loop").symlink_to("loop")
        for stage, options, status, reason in rows:
            self.check(stage, [status], reason, **options)

    def test_full_file_system(self):
        for lacking in 0, NO_UNNAMED:
            stage = Stage("dangling symlink", MAPPED, lacking)
            mount = ["mount", "-t", "tmpfs", "-o", "size=64k", "none", stage.folder / "sub"]
            mounted = subprocess.run(mount, capture_output=True, text=True)
            if mounted.returncode != 0:
                self.skipTest(f"can't mount a small file system: {mounted.stderr}")
            self.addCleanup(subprocess.run, ["umount", stage.folder / "sub"], check=True)
            self.check(stage, [1], ENOSPC)

    def test_fifo(self):
        stage = Stage(names={3: "fifo"})
        os.mkfifo(stage.folder / "fifo")
        reader = os.open(stage.folder / "fifo", os.O_RDONLY | os.O_NONBLOCK)
        self.assertEqual((stage.run(), os.read(reader, 999)), (0, stage.new[0]))
        os.close(reader)

    def test_standard_output_as_output(self):
        for name in "/dev/fd/1", "/dev/stdout":
            stage = Stage(names={3: name}, mode=0o640)
            end = f"STATUS: Successfully wrote {name}\n"
            told = PROGRESS.encode() + stage.new[0] + end.encode()
            self.assertEqual((stage.run(**OTHER_USER), stage.said.encode("latin-1")), (0, told))
            for mode, before in ("ab", stage.old[0]), ("wb", b""):
                with open(stage.target, mode) as target:
                    status = stage.run(stdout=target, **OTHER_USER)
                self.assertEqual((status, stage.output()[0]), (0, before + told))
        self.assertEqual(stage.run(preexec_fn=lambda: os.close(1), **OTHER_USER), 1)

    def test_closed_standard_streams(self):
        for closed in {0}, {1}, {2}, {0, 1, 2}:
            stage = Stage()
            status = stage.run(preexec_fn=lambda: [*map(os.close, closed)])
            self.assertEqual((status, stage.output()), (0, stage.new), closed)
            # None of the run's files may stand where messages go.
            opened = [int(result) for name, result in stage.calls if name.startswith("open")]
            self.assertEqual({*opened[:len(closed)]}, closed)
            self.assertGreater(min(opened[len(closed):]), 2)

    def test_lost_messages(self):
        source, sink = os.pipe()
        os.close(source)
        for stream in sink, os.open("/dev/full", os.O_WRONLY):
            stage = Stage()
            self.assertEqual((stage.run(stdout=stream), stage.output()), (0, stage.new))
            self.assertRegex(stage.reasons, r"\AWARNING: can't write to standard output: .*\n\Z")
            os.close(stream)

    def test_input_cut_short(self):
        cut, changed = (f"ERROR: can't read file in.bit: it was {what} while in use\n"
                        for what in ("cut short", "changed"))
        for filler, fault in (SMALL, CUT), (MAPPED, CUT), (SMALL, TOUCH), (MAPPED, TOUCH):
            calls = self.check(Stage("file", filler), [0])
            loaded, looked = calls.index("stat"), calls.index("stat") + 1
            said = dict.fromkeys([loaded, looked], PROGRESS + changed)
            if (filler, fault) == (MAPPED, CUT):  # then it is in use until it is written
                said[loaded] = PROCESSING + cut
                said |= dict.fromkeys(range(looked + 1, calls.index("write") + 2), PROGRESS + cut)
            for at, text in said.items():
                stage = Stage("file", filler)
                self.assertEqual((stage.run(at, fault), stage.said, stage.output(), stage.left),
                                 (1, text, stage.old, ""), (at, fault))


if __name__ == "__main__":
    os.umask(0o022)
    for ending in SIGHUP, SIGINT, SIGTERM:  # which a background job may have been told to ignore
        signal(ending, SIG_DFL)
    with tempfile.TemporaryDirectory() as folder:
        BASE = Path(folder)
        BASE.chmod(0o755)
        RAMGRAFT, SHIM = (shutil.copy(path, BASE) for path in sys.argv[1:3])  # for the other user
        unittest.main(argv=sys.argv[:1] + sys.argv[3:])
