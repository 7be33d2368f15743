#!/usr/bin/env python3
# Nothing lost, whatever happens: runs the tool while what it asks of the system goes wrong.
#
#     [ROW=TEXT] faults.py RAMGRAFT FAULTSHIM [unittest options]
#
# RAMGRAFT must be linked dynamically, so that FAULTSHIM (faultshim.cpp) can come between it and
# the C library. Stage's facts say what holds after every run, whatever went wrong. A failure names
# its row; with ROW, calls go wrong only in rows whose names contain TEXT.

import os
import shutil
import sys
import tempfile
import unittest
from errno import (EACCES, EBADF, EBUSY, EEXIST, EFBIG, EINTR, EIO, EISDIR, ELOOP, ENAMETOOLONG,
                   ENOENT, ENOSPC, ENOTDIR, EOPNOTSUPP, EPERM)
from multiprocessing.pool import ThreadPool
from pathlib import Path
from resource import RLIMIT_FSIZE, setrlimit
from signal import SIG_DFL, SIG_IGN, SIGHUP, SIGINT, SIGKILL, SIGTERM, signal
from struct import pack
from subprocess import PIPE, run

__unittest = True  # pylint: disable=invalid-name  # a failure shows what failed, not where

# An EBR's commands up to the payload of one frame; the payload with its CRC before and after.
COMMANDS = bytes.fromhex("F6 00 00 00 00 00 28 00 B2 D0 00 01")
OLD, NEW = bytes(11), bytes.fromhex("1D 03 C0 00 00 00 00 00 00 07 FD")
TEXT_FILES = {"ram.wid": b"0b000000101\naw10;dw8\n", "words.mem": b"#\n5C\nF0\n"}
SMALL, LARGE = 1, 2 << 20  # bytes before the commands
LOADING = "STATUS: loading input files\n"
PROCESSING = f"{LOADING}STATUS: input files loaded successfully\nSTATUS: processing bitstream\n"
PROGRESS = f"{PROCESSING}STATUS: Replacing contents of EBR ID# 000000101 (1/1)\n"
MIXED = "ERROR: {} is not as it was, it may be part old, part new\n"
# For runs that need permissions to count, or that a wrong tool could let replace a file in /dev.
OTHER_USER = {"user": 65534, "group": 65534, "extra_groups": []} if os.geteuid() == 0 else {}
OTHER = OTHER_USER.get("user", -1)
MODE = 0o4640 if OTHER_USER else 0o640  # the system takes the 4000 away when others write in place
LIMIT = {"preexec_fn": lambda: setrlimit(RLIMIT_FSIZE, (1 << 20,) * 2)}
LIST, LIST_FOR_NEW = "system.posix_acl_access", "system.posix_acl_default"

NO_UNNAMED = os.O_TMPFILE & ~os.O_DIRECTORY  # what a folder can't have
NO_NEW = NO_UNNAMED | os.O_CREAT  # so that an old file is written in place
SHORT, STARVE, BEFORE = 1000, 1001, 1002  # faults beside error numbers and negated signal numbers
FAULTS = {0: [EIO, EACCES, STARVE, -SIGKILL, -SIGINT],
          NO_NEW: [EIO, EACCES, STARVE, -SIGTERM, -SIGHUP],
          NO_UNNAMED: [EIO, EACCES, STARVE, -SIGKILL, -SIGINT, -SIGTERM, -SIGHUP]}
HARMLESS = {"close": [EINTR], "fallocate": [EIO, EOPNOTSUPP],
            **dict.fromkeys(("read", "write", "writev"), [SHORT, EINTR])}
LOSSES = ("fsync", "read", "fgetxattr", "fsetxattr", "fremovexattr", "fchown", "fchmod", "flock",
          "lseek", "ftruncate")
CASES = [{"kind": kind, "lacking": lacking} for kind, lacking in [
    ("nothing", 0), ("nothing", NO_UNNAMED), ("file", 0), ("file", NO_UNNAMED), ("file", NO_NEW),
    ("in.bit", 0), ("in.bit", NO_UNNAMED), ("in.bit", NO_NEW), ("symlink", 0), ("symlink", NO_NEW),
    ("dangling symlink", NO_UNNAMED), ("hard link", 0), ("hard link", NO_NEW)]]
CASES.append({"rights": (4, 6)})


# An access control list: user 1002 may read and write, the group has the rights given, and nobody
# but the owner has more than `most`.
def access_list(group, most):
    entries = [(1, 6, -1), (2, 6, 1002), (4, group, -1), (16, most, -1), (32, 0, -1)]
    return pack("<I", 2) + b"".join(pack("<HHi", *entry) for entry in entries)


# The number of the call that opens the output, after the three that open the inputs.
def opening(calls):
    return [at for at, call in enumerate(calls, 1) if call == "open"][3]


# A folder with a run's input files, in which the output path leads to `kind`.
class Stage:
    def __init__(self, kind="file", filler=SMALL, names=(), **facts):
        self.kind, self.lacking = kind, facts.get("lacking", 0)
        self.name = str({"kind": kind, "filler": filler, **dict(names), **facts})
        self.folder = Path(tempfile.mkdtemp(dir=BASE))
        self.inputs = {"in.bit": b"\xff" * filler + COMMANDS + OLD, **TEXT_FILES}
        for name, data in self.inputs.items():
            (self.folder / name).write_bytes(data)
        self.path = self.folder / (kind if kind in self.inputs else "out.bit")
        self.make_links("sub" if "dangling" in kind else ".", facts.get("links", 0))
        self.target = Path(os.path.realpath(self.path))
        if kind in ("file", "symlink"):
            self.target.write_bytes(b"what was there before\n" * 3)
        if self.target.exists():
            os.chown(self.target, *facts.get("owner", (OTHER, -1)))
            self.target.chmod(facts.get("mode", MODE))
        for place, name, rights in [(self.target, LIST, "rights"),
                                    (self.folder, LIST_FOR_NEW, "inherited")]:
            if rights in facts:
                os.setxattr(place, name, access_list(*facts[rights]))
        self.folder.chmod(facts.get("folder", 0o777))
        os.chown(self.folder, facts.get("folder_owner", -1), -1)
        self.calls, self.said, self.reasons, self.left = [], "", "", set()  # of the last run
        self.mixed = ""  # the line that allows it to leave a mixture
        self.old = self.output()
        self.new = {**(self.old or {"mode": 0o644, "owner": (os.geteuid(), os.getegid()),
                                    "list": b"", "is link": "symlink" in kind}),
                    "contents": self.inputs["in.bit"][:-len(OLD)] + NEW}
        self.arguments = [dict(names).get(place, name)
                          for place, name in enumerate([*self.inputs, self.path.name])]

    def make_links(self, end, more):
        (self.folder / "sub/fd").mkdir(parents=True)
        (self.folder / "sub/fd/link").symlink_to(self.folder / end / "to.bit")  # no descriptor
        if self.kind == "hard link":
            os.link(self.folder / "in.bit", self.path)
        elif "link" in self.kind:
            self.path.symlink_to("out.bit" if "looping" in self.kind else "sub/fd/link")
        for number in range(more):
            self.path.rename(self.folder / f"link{number}")
            self.path.symlink_to("./" * 1000 + f"link{number}")

    # All that a user sees of the output; nothing if there is none.
    def output(self):
        if not self.target.exists():
            return {}
        status = self.target.stat()
        has_list = LIST in os.listxattr(self.target)
        return {"contents": self.target.read_bytes(), "mode": status.st_mode & 0o7777,
                "owner": (status.st_uid, status.st_gid), "is link": self.path.is_symlink(),
                "list": os.getxattr(self.target, LIST) if has_list else b""}

    # Runs the tool, its calls number `at` to `last` meeting the fault. The exit status.
    def run(self, at=0, fault=0, last=0, before="", **options):
        there = {*self.folder.rglob("*"), self.target}
        with tempfile.TemporaryFile("w+") as log:
            setting = f"{at} {last or at} {int(fault)} {self.lacking} {log.fileno()}"
            ran = run([RAMGRAFT, *self.arguments], cwd=self.folder, timeout=60, check=False,
                      env={**os.environ, "LD_PRELOAD": SHIM, "FAULT": setting, "BEFORE": before},
                      **{"stdout": PIPE, "stderr": PIPE, "pass_fds": [log.fileno()], **options})
            log.seek(0)
            self.calls = [line.split() for line in log]
        self.said = (ran.stdout or b"").decode("latin-1")
        self.reasons = "".join(line for line in ran.stderr.decode().splitlines(True)
                               if "profiling" not in line)  # what a coverage build may add
        self.left = {*self.folder.rglob("*")} - there
        return ran.returncode

    # What is seen of the output after a run, each fact with what would be right.
    def output_facts(self, status):
        seen, allowed = self.output(), [self.old, self.new]
        if status >= 0:
            allowed = allowed[:1] if status else allowed[1:]
        wanted = seen if seen in allowed or self.mixed else allowed[0]
        return {f"output, {key}": (seen.get(key), [wanted.get(key)]) for key in {**seen, **wanted}}

    # The same for the inputs, for what is left in the folder, and for what the run has said, where
    # `reason` is what went wrong.
    def other_facts(self, status, reason, at, may_leave):
        # A hard link of the input, written in place, is the input.
        is_input = self.kind == "hard link" and (at > 0 or self.lacking == NO_NEW)
        written = {"in.bit" if is_input else self.kind: self.output().get("contents")}
        facts = {name: ((self.folder / name).read_bytes(), [data, written.get(name)])
                 for name, data in self.inputs.items()}
        # A temporary is readable by nobody who can't read the file.
        facts["left"] = [path.name for path in self.left if not (
            may_leave and path.match(f".ramgraft-{'[0-9a-f]' * 16}.tmp") and
            path.stat().st_mode & 0o777 & ~self.new["mode"] == 0)], [[]]
        if status >= 0:
            facts["said"] = self.said + self.reasons, [*self.texts(status, reason)]
        elif status != -SIGKILL:  # a signal that can wait ends no run before it said what it did
            facts["said that it wrote"] = "Success" in self.said, [self.output() == self.new]
        return facts

    def texts(self, status, reason):
        out = self.arguments[3]
        if status == 0:
            yield f"{PROGRESS}STATUS: Successfully wrote {out}\n"
            return
        yield f"{PROGRESS}ERROR: Can't write file {out}\n{self.mixed}{out}: {reason}\n"
        for letter, name in zip("cCC", self.arguments):
            yield f"{LOADING}ERROR: can't read file {name}: {reason}\n"
            yield f"{LOADING}ERROR: {letter}an't open file {name}\n{name}: {reason}\n"
        if reason == os.strerror(STARVE):
            yield from (f"{text}ERROR: out of memory\n" for text in (LOADING, PROCESSING, PROGRESS))


class Faults(unittest.TestCase):
    longMessage = False

    # Runs the stage, whose call number `at` meets the fault; with `at` 0 the fault is what goes
    # wrong by itself. A status not given is 0 or 1. The names of the calls made.
    def check(self, stage, wanted=None, fault=0, at=0, reason=0, may_leave=False, says="",
              **options):
        row = f"{stage.name}, {int(fault)} at {at} {options.get('before', '')}"
        if at and ROW not in row:
            return []
        stage.mixed = says if "part old" in says else ""
        status = stage.run(at, fault, **options)
        facts = {"status": (status, [0, 1] if wanted is None else [wanted]),
                 f"says {says!r}": (says in stage.said + stage.reasons, [True]),
                 **stage.output_facts(status)}
        if fault != BEFORE:  # which changes files and makes others
            facts.update(stage.other_facts(status, os.strerror(reason or fault), at, may_leave))
        wrong = [f"  {name}: {str(seen)[-150:]!r}, not {str(right[0])[-150:]!r}" +
                 f" or one of {len(right) - 1} others" * (len(right) > 1)
                 for name, (seen, right) in facts.items() if seen not in right]
        self.assertFalse(wrong, "\n".join([f"in ROW={row!r}", *wrong]))
        if stage.left and fault != BEFORE:
            self.check(stage, 0)
        if at:
            stage.folder.chmod(0o755)
            shutil.rmtree(stage.folder)
        return [name for name, _ in stage.calls]

    def test_calls_going_wrong(self):
        for case in CASES:
            with self.subTest(**case):
                self.let_calls_go_wrong(case)

    def let_calls_go_wrong(self, case):
        lacking = case.get("lacking", 0)
        calls = self.check(Stage(**case), 0)
        del calls[len(calls) - calls[::-1].index("close"):]  # what a coverage build adds
        if not lacking:  # a temporary has a name for a moment only
            self.assertIn("linkat close renameat", " ".join(calls), f"no O_TMPFILE in {BASE}?")
        # Flushing costs much, and only an input can't be made again.
        to_rename = calls if lacking == NO_NEW else calls[:calls.index("renameat")]
        self.assertEqual([to_rename.count("fsync"), calls.count("fsync")],
                         [case.get("kind") in ("in.bit", "hard link")] * 2)
        closed = calls.index("close", calls.index("write")) + 1

        def attempt(at, call, fault):
            has_name = lacking == NO_UNNAMED or "linkat" in calls[:at - 1]
            is_loss = fault in (EIO, EACCES) and (call in LOSSES or at == closed)
            is_harmless = fault == -SIGHUP or fault in HARMLESS.get(call, [])  # SIGHUP is ignored
            status = 0 if is_harmless else fault if fault < 0 else 1 if is_loss else None
            stage = Stage(**case)
            is_mixed = is_loss and at == closed and lacking == NO_NEW
            self.check(stage, status, fault, at, 0, has_name and fault == -SIGKILL,
                       MIXED.format(stage.path.name) if is_mixed else "")

        with ThreadPool() as pool:
            pool.starmap(attempt, [
                (at, call, fault) for at, call in enumerate(calls, 1)
                if at >= opening(calls) or case == CASES[0]
                for fault in HARMLESS.get(call, []) + FAULTS[lacking] * (call != "writev")])

    def test_conditions(self):
        protected = Path("/proc/sys/fs/protected_symlinks").read_text(encoding="ascii") == "1\n"
        rows = [(Stage("nothing", names={3: "/dev/full"}), ENOSPC, OTHER_USER),
                (Stage(mode=0o640, folder=0o555), 0, OTHER_USER),
                (Stage("in.bit", LARGE, mode=0o640, folder=0o555), EFBIG, {**LIMIT, **OTHER_USER}),
                (Stage("nothing", folder=0o555), EACCES, OTHER_USER),
                (Stage(mode=0o440), EACCES, OTHER_USER), (Stage("looping symlink"), ELOOP, {})]
        rows += [(Stage(kind, LARGE, lacking=lacking), EFBIG, LIMIT) for kind in ("file", "in.bit")
                 for lacking in FAULTS]
        rows += [(Stage(names={3: name}), reason, {}) for name, reason in
                 {"": ENOENT, "no/x": ENOENT, "no/": ENOENT, "sub/": EISDIR, "out.bit/": ENOTDIR,
                  "n" * 256: ENAMETOOLONG, "/proc/self/fd/1x": ENOENT, "/proc/self/fd/99": EBADF,
                  "/proc/thread-self/fd/99": EBADF, f"/proc/{os.getpid()}/fd/9999": ENOENT}.items()]
        rows += [(Stage(name, mode=0o600), 0, {}) for name in TEXT_FILES]
        rows += [(Stage(names={place: "/dev/stdin"}), EISDIR, {"preexec_fn": lambda: os.close(0)})
                 for place in range(3)]
        for kind in "symlink", "dangling symlink":
            rows += [(Stage(kind, names={3: "/proc/self/cwd/sub/fd/link"}), 0, {}),
                     (Stage(kind, links=38), 0, {}),  # with those of the kind as many as possible
                     (Stage(kind, links=39), ELOOP, {})]
        if OTHER_USER:  # else this script can't read the output either, or make another's link
            rows += [(Stage("file", LARGE, mode=0o200, folder=0o555), EACCES,
                      {**LIMIT, **OTHER_USER}),
                     (Stage(mode=0o666, folder=0o1777), 0, {**OTHER_USER, "user": 65533}),
                     (Stage("dangling symlink", folder=0o1777, folder_owner=1002), 0, {}),
                     (Stage("symlink", owner=(OTHER, OTHER), folder=0o1777, folder_owner=1002),
                      EACCES if protected else 0, OTHER_USER)]
        for place, data in enumerate(Stage("file", LARGE).inputs.values()):
            rows += [(Stage("file", LARGE, {place: name}), reason, {"input": data})
                     for name, reason in {"sub": EISDIR, "/dev/stdin": 0, "/dev/fd/0": 0}.items()]
        for stage, reason, options in rows:
            with self.subTest(stage.name[:200]):
                self.check(stage, int(reason > 0), reason, **options)

    # Nobody gets a right that he didn't have.
    def test_access(self):
        other = (OTHER, OTHER)
        for user, facts, (call, fault, *also), change in [
                ({}, {"rights": (6, 6)}, ("", 0), {}),
                ({}, {"rights": (4, 6)}, ("fsetxattr", EOPNOTSUPP), {"list": b"", "mode": 0o640}),
                ({}, {"rights": (6, 4), "mode": 0o4640}, ("fsetxattr", EPERM),
                 {"list": b"", "mode": 0o4640}),
                ({}, {"inherited": (6, 6)}, ("", 0), {}),
                ({}, {"owner": other, "rights": (4, 6)}, ("renameat", EBUSY), {}),  # a mount point
                ({}, {"owner": (os.geteuid(), OTHER)}, ("", 0), {}),
                ({}, {"owner": other}, ("fchown", EPERM), {"owner": (0, OTHER), "mode": 0o640}),
                (OTHER_USER, {"owner": (0, OTHER), "mode": 0o6664}, ("", 0),
                 {"owner": other, "mode": 0o664}),
                ({}, {"owner": other, "mode": 0o2647}, ("fchown", EPERM, 1),
                 {"owner": (0, 0), "mode": 0o604}),
                ({}, {"owner": other, "rights": (4, 6)}, ("fchown", EPERM, 1),
                 {"owner": (0, 0), "list": access_list(0, 6)})]:
            if "owner" in facts and not OTHER_USER:
                continue
            stage, dry = Stage(**{"mode": 0o640, **facts}), Stage(**facts)
            stage.new.update(change)
            dry.run(**user)
            with self.subTest(stage.name):
                at = [name for name, _ in dry.calls].index(call) + 1 if call else 0
                self.check(stage, 0, fault, at, last=at + sum(also), **user)

    def test_temporary_of_another(self):
        for lacking in 0, NO_UNNAMED:
            stage = Stage(lacking=lacking)
            taken = f".ramgraft-{'0' * 16}.tmp"  # what a run without random numbers chooses
            (stage.folder / taken).touch()
            stage.inputs[taken] = b""
            at = self.check(Stage(lacking=lacking), 0).index("getrandom") + 1
            self.check(stage, 1, EIO, at, reason=EEXIST)

    def test_written_directly(self):
        stage = Stage(names={3: "fifo"})
        os.mkfifo(stage.folder / "fifo")
        reader = os.open(stage.folder / "fifo", os.O_RDONLY | os.O_NONBLOCK)
        self.assertEqual((stage.run(), os.read(reader, 999)), (0, stage.new["contents"]))
        for name, user in {"/dev/fd/1": OTHER_USER, "/dev/stdout": OTHER_USER,
                           "/proc/self/fd/1": {}, "/proc/thread-self/fd/1": {}}.items():
            stage = Stage(names={3: name}, mode=0o640)
            said = PROGRESS.encode() + stage.new["contents"] + (
                f"STATUS: Successfully wrote {name}\n".encode())
            self.assertEqual((stage.run(**user), stage.said.encode("latin-1")), (0, said))
            for mode, before in ("ab", stage.old["contents"]), ("wb", b""):
                with open(stage.target, mode) as target:
                    self.assertEqual((stage.run(stdout=target, **user),
                                      stage.output()["contents"]), (0, before + said))
        self.assertEqual(stage.run(preexec_fn=lambda: os.close(1), **OTHER_USER), 1)
        stage = Stage("in.bit", LARGE, {3: "/dev/fd/0"})
        with open(stage.target, "r+b") as target:
            target.seek(5)
            self.assertEqual((stage.run(stdin=target), stage.output()), (1, stage.old))
        stage = Stage()  # a file that another process has open is not renamed over
        with open(stage.target, "rb") as target:
            stage.arguments[3] = f"/proc/{os.getpid()}/fd/{target.fileno()}"
            self.assertEqual((stage.run(), target.read()), (0, stage.new["contents"]))

    def test_standard_streams(self):
        for closed in {0}, {1}, {2}, {0, 1, 2}:
            stage = Stage()
            options = {"preexec_fn": lambda closed=closed: [*map(os.close, closed)]}
            self.assertEqual((stage.run(**options), stage.output()), (0, stage.new), closed)
            # None of the run's files may take the number that messages go to.
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

    # What was read counts, and only what happens to a file while it is read.
    def test_inputs_changed(self):
        def attempt(at, before, says):
            self.check(Stage(), int(says != ""), BEFORE, at, before=before, says=says)

        calls = self.check(Stage(), 0)
        for place, name in enumerate(("ram.wid", "words.mem", "in.bit")):
            opened = [at for at, call in enumerate(calls, 1) if call == "open"][place]
            begin, end = [at for at, call in enumerate(calls, 1) if call == "fstat"][place * 2:][:2]
            replace, changed = f"echo G >new && mv new {name}", "it was changed while in use"
            rows = [(f"rm {name}", 1, opened, "ERROR"),
                    (f"{replace} && {replace}", 1, opened, "ERROR"),
                    (f"touch {name}", begin + 1, end, changed),
                    (f": >{name}", begin + 1, end, changed)]
            with ThreadPool() as pool:
                pool.starmap(attempt, [(at, before, says if at <= last else "")
                                       for before, first, last, says in rows
                                       for at in range(first, len(calls))])

    # In place, all is done with the file that was opened, whatever its name leads to by then.
    def test_in_place(self):
        facts = {"filler": LARGE, "lacking": NO_NEW}
        calls = self.check(Stage(**facts), 0)
        start, end = opening(calls) + 1, calls.index("ftruncate") + 1
        for at in range(start, end):
            for limit in {}, LIMIT:
                for other in "mkfifo out.bit", "ln -s words.mem out.bit":
                    stage = Stage(**facts)
                    stage.target = stage.path = stage.folder / "moved"
                    self.check(stage, 1 if limit else None, BEFORE, at,
                               before=f"mv out.bit moved; {other}", **limit)
        for at in range(calls.index("lseek") + 1, end + 1):  # neither written nor put back
            self.check(Stage(**facts), 1, EIO, at, last=at + 1, says=MIXED.format("out.bit"))
        self.check(Stage(**facts), 1, BEFORE, calls.index("lseek"), before="touch out.bit",
                   says="out.bit: another program is writing it")  # one that takes no lock
        # From the lock to the end, a second run keeps off.
        for at in range(start, end + 2):
            is_locked = at > calls.index("flock") + 1
            self.check(Stage(filler=LARGE, mode=0o640, folder=0o555), 0, BEFORE, at, **OTHER_USER,
                       before=f"{RAMGRAFT} in.bit *.wid *.mem out.bit; test $? = {is_locked:d}",
                       says="out.bit: another program is writing it\n" if is_locked else "")

    # Who may create files in a folder must not choose what is replaced by putting links there.
    def test_links_swapped(self):
        rows = [({"kind": "symlink"}, f"ln -sfn {to} out.bit", reason) for to, reason in [
            ("words.mem", "another program is writing it"), ("out.bit", os.strerror(ELOOP))]]
        if OTHER_USER:
            rows.append(({"kind": "nothing", "folder": 0o1777, "folder_owner": OTHER},
                         "ln -s words.mem out.bit; chown -h 1002 out.bit", os.strerror(EACCES)))
        for facts, before, reason in rows:
            calls = self.check(Stage(**facts), 0)
            for at in range(opening(calls) + 1, calls.index("renameat") + 2):
                stage = Stage(**facts)
                stage.run(at, BEFORE, before=before)
                self.assertIn(stage.reasons, ["", f"out.bit: {reason}\n"], (facts, at))
                self.assertEqual((stage.folder / "words.mem").read_bytes(),
                                 TEXT_FILES["words.mem"], (facts, at))


if __name__ == "__main__":
    os.umask(0o022)
    for ending, action in (SIGHUP, SIG_IGN), (SIGINT, SIG_DFL), (SIGTERM, SIG_DFL):
        signal(ending, action)  # a background job may have inherited others
    ROW = os.environ.get("ROW", "")
    with tempfile.TemporaryDirectory() as BASE:
        os.chmod(BASE, 0o755)
        if os.statvfs(BASE).f_flag & os.ST_NOEXEC:
            sys.exit(f"faults.py: {tempfile.gettempdir()}, the folder for temporary files, must "
                     "allow executing programs; TMPDIR names another")
        RAMGRAFT, SHIM = (shutil.copy(path, BASE) for path in sys.argv[1:3])  # for the other user
        for copied in RAMGRAFT, SHIM:
            os.chmod(copied, 0o755)  # the umask they were built with may keep others out
        unittest.main(argv=sys.argv[:1] + sys.argv[3:])
