#!/usr/bin/env python3
# Nothing lost, whatever happens: runs the tool while what it asks of the system goes wrong.
#
#     [ROW=TEXT] faults.py RAMGRAFT FAULTSHIM
#
# RAMGRAFT must be linked dynamically, so that FAULTSHIM (faultshim.cpp) can come between it and
# the C library. check() says what holds after every run, whatever went wrong. A failure names its
# row; with ROW, calls go wrong only in rows whose names contain TEXT.
#
# A stage is described by words, all of which can be left out:
#
#     kind=KIND      what the output path leads to: an input's name, "nothing", "file", a link
#     0=NAME 3=NAME  arguments of the run, by their places
#     large          a bitstream of 2 MiB
#     limit          no file may become larger than 1 MiB
#     user=65534     the tool runs without root's rights
#     lacking=WHAT   the folder takes no files without names, or no new files at all
#     links=N        so many more links before the output
#     mode=, owner=, rights=, folder=, folder_owner=, inherited=   permissions

import errno
import os
import re
import shutil
import signal
import sys
import tempfile
from multiprocessing.pool import ThreadPool
from pathlib import Path
from struct import pack
from subprocess import PIPE, run

# An EBR's commands up to the payload of one frame; the payload with its CRC before and after.
COMMANDS = bytes.fromhex("F6 00 00 00 00 00 28 00 B2 D0 00 01")
OLD, NEW = bytes(11), bytes.fromhex("1D 03 C0 00 00 00 00 00 00 07 FD")
TEXT_FILES = {"ram.wid": b"0b000000101\naw10;dw8\n", "words.mem": b"#\n5C\nF0\n"}
NAMES = ["in.bit", *TEXT_FILES, "out.bit"]
LOADING = "STATUS: loading input files\n"
PROCESSING = f"{LOADING}STATUS: input files loaded successfully\nSTATUS: processing bitstream\n"
PROGRESS = f"{PROCESSING}STATUS: Replacing contents of EBR ID# 000000101 (1/1)\n"
MIXED = "ERROR: {} is not as it was, it may be part old, part new\n"
IN_USE = "another program is writing it"
# For runs that need permissions to count, or that a wrong tool could let replace a file in /dev.
IS_ROOT = os.geteuid() == 0
OTHER = 65534 if IS_ROOT else -1
# The system takes the 4000 away when others write in place.
USUAL = f"kind=file mode={'4640' if IS_ROOT else '640'} owner={OTHER}:-1 folder=777 folder_owner=-1"
LIST, LIST_FOR_NEW = "system.posix_acl_access", "system.posix_acl_default"
LINKS = {"symlink": "sub/fd/link", "dangling": "sub/fd/link", "looping": "out.bit"}

LACKING = {"": 0, "unnamed": os.O_TMPFILE & ~os.O_DIRECTORY}  # flags that a folder refuses
LACKING["new"] = LACKING["unnamed"] | os.O_CREAT  # so that an old file is written in place
NUMBERS = {"": 0, **vars(errno), **{f"-{each.name}": -each for each in signal.Signals},
           "SHORT": 1000, "STARVE": 1001, "BEFORE": 1002, "END": 1003}
HARMLESS = {"close": ["EINTR"], "fallocate": ["EIO", "EOPNOTSUPP"],
            **dict.fromkeys(("read", "write", "writev"), ["SHORT", "EINTR"])}
LOSSES = "fsync read fgetxattr fsetxattr fremovexattr fchown fchmod flock lseek ftruncate".split()
TEMPORARY = re.compile(r"(sub/)?\.ramgraft-[0-9a-f]{16}\.tmp")
failures = []


# An access control list: user 1002 may read and write, the group has the rights given, and nobody
# but the owner has more than `most`.
def access_list(group, most):
    entries = [(1, 6, -1), (2, 6, 1002), (4, group, -1), (16, most, -1), (32, 0, -1)]
    return pack("<I", 2) + b"".join(pack("<HHi", *entry) for entry in entries)


def expect(holds, row, seen):
    if not holds:
        failures.append(row)
        print(f"{row}\n  {str(seen)[-600:]!r}", flush=True)


# The numbers of the calls of this name. The first three "open" are the inputs', the next one is
# the output's.
def numbers(calls, name):
    return [at for at, call in enumerate(calls, 1) if call == name]


# All that a user sees of the files in a folder, by name.
def look(folder):
    files = {}
    for path in folder.rglob("*"):
        if path.is_symlink():
            files[str(path.relative_to(folder))] = {"link to": os.readlink(path)}
        elif not path.is_dir():
            status, has_list = path.stat(), LIST in os.listxattr(path)
            files[str(path.relative_to(folder))] = {
                "contents": path.is_file() and path.read_bytes(), "mode": status.st_mode & 0o7777,
                "owner": (status.st_uid, status.st_gid),
                "list": os.getxattr(path, LIST) if has_list else b""}
    return files


# A folder with a run's input files.
class Stage:
    def __init__(self, words):
        self.words, self.said, self.reasons, self.calls = words, "", "", []
        self.facts = dict(word.partition("=")[::2] for word in f"{USUAL} {words}".split())
        kind, self.folder = self.facts["kind"], Path(tempfile.mkdtemp(dir=BASE))
        self.user = {"user": int(self.facts["user"]), "group": OTHER, "extra_groups": []} if (
            IS_ROOT and "user" in self.facts) else {}
        before = b"\xff" * (2 << 20 if "large" in self.facts else 1) + COMMANDS
        self.new = before + NEW
        for name, data in {"in.bit": before + OLD, **TEXT_FILES}.items():
            (self.folder / name).write_bytes(data)
        (self.folder / "sub/fd").mkdir(parents=True)
        (self.folder / "sub/fd/link").symlink_to(  # no descriptor
            self.folder / ("sub" if kind == "dangling" else ".") / "to.bit")
        path = self.folder / (kind if kind in NAMES else "out.bit")
        self.arguments = [self.facts.get(str(place), name)
                          for place, name in enumerate([*NAMES[:3], path.name])]
        if kind == "hard":
            os.link(self.folder / "in.bit", path)
        elif kind in LINKS:
            path.symlink_to(LINKS[kind])
        for number in range(int(self.facts.get("links", "0"))):
            path.rename(self.folder / f"link{number}")
            path.symlink_to("./" * 1000 + f"link{number}")
        self.target = Path(os.path.realpath(path))
        if kind in ("file", "symlink"):
            self.target.write_bytes(b"what was there before\n" * 3)
        if self.target.exists():
            os.chown(self.target, *map(int, self.facts["owner"].split(":")))
            self.target.chmod(int(self.facts["mode"], 8))
        for place, name, rights in ((self.target, LIST, "rights"),
                                    (self.folder, LIST_FOR_NEW, "inherited")):
            if rights in self.facts:
                os.setxattr(place, name, access_list(*map(int, self.facts[rights])))
        (self.folder / self.facts.get("also", "in.bit")).touch()
        self.folder.chmod(int(self.facts["folder"], 8))
        os.chown(self.folder, int(self.facts["folder_owner"]), -1)

    # Runs the tool in the place of {} in a shell; its calls number `at` to `last` meet the fault.
    # The exit status.
    def run(self, shell="exec {}", at=0, fault="", last=0, before="", stdout=PIPE):
        parts = ["env", f"LD_PRELOAD={SHIM}", RAMGRAFT, *self.arguments]
        tool = " ".join(f'"{part}"' for part in parts)
        limit = "ulimit -f 2048; " if "limit" in self.facts else ""
        lacking = LACKING[self.facts.get("lacking", "")]
        with tempfile.TemporaryFile("w+") as log:
            setting = f"{at} {last or at} {NUMBERS[fault]} {lacking} {log.fileno()}"
            ran = run(["sh", "-c", limit + shell.replace("{}", tool)], cwd=self.folder, timeout=60,
                      check=False, env={**os.environ, "FAULT": setting, "BEFORE": before},
                      stdout=stdout, stderr=PIPE, pass_fds=[log.fileno()], **self.user)
            log.seek(0)
            self.calls = [line.split() for line in log]
        self.said = (ran.stdout or b"").decode("latin-1")
        self.reasons = "".join(line for line in ran.stderr.decode().splitlines(True)
                               if "profiling" not in line)  # what a coverage build may add
        return ran.returncode

    # All that a run may say that ends with this status, where `reason` is what went wrong.
    def texts(self, status, reason, mixed):
        out = self.arguments[3]
        return [f"{PROGRESS}STATUS: Successfully wrote {out}\n"] if status == 0 else [
            f"{PROGRESS}ERROR: Can't write file {out}\n{mixed}{out}: {reason}\n",
            *(f"{LOADING}ERROR: {text}{name}: {reason}\n" for name in self.arguments for text in (
                "can't read file ", f"can't open file {name}\n", f"Can't open file {name}\n")),
            *(f"{text}ERROR: out of memory\n" for text in (LOADING, PROCESSING, PROGRESS)
              if reason == os.strerror(NUMBERS["STARVE"]))]


# Runs a stage, whose call number `at` meets the fault; with `at` 0 the fault is what goes wrong by
# itself. A status not given is 0 or 1. `change` is what the new file doesn't keep of the old one,
# `moved` where it is moved to. The names of the calls.
def check(words, wanted=None, fault="", at=0, *, reason="", says="", moved="", change=(), **more):
    row = f"ROW='{str(words)[:200]}, {fault} at {at} {more.get('before', '')}'"
    if at and ROW not in row:
        return []
    stage = words if isinstance(words, Stage) else Stage(words)
    target, old = str(stage.target.relative_to(stage.folder)), look(stage.folder)
    fresh = {"mode": 0o644, "owner": (os.geteuid(), os.getegid()), "list": b""}
    new = {**old.get(target, fresh), "contents": stage.new, **dict(change)}
    status = stage.run(at=at, fault=fault if at else "", **more)
    seen, said = look(stage.folder), stage.said + stage.reasons
    calls = [name for name, _ in stage.calls]
    is_linked = "kind=hard" in stage.words and (stage.folder / "in.bit").stat().st_nlink > 1
    same = {target, "in.bit"} if is_linked else {target}  # still one file, written in place
    # A temporary is readable by nobody who can't read the file.
    left = {name for name in seen.keys() - {*old, target} if status == NUMBERS["-SIGKILL"] and
            ("unnamed" in stage.words or "linkat" in calls) and TEMPORARY.fullmatch(name) and
            seen[name]["mode"] & 0o777 & ~new["mode"] == 0}
    mixed = says if "part old" in says else ""
    compared = {*seen, *old, target} - left - (same if mixed else set())
    if fault == "BEFORE":  # which changes files and makes others
        compared, seen[target] = {target}, seen.get(moved or target)
    allowed = [old] * (status != 0) + [{**old, **dict.fromkeys(same, new)}] * (status <= 0)
    wrong = [{name: seen.get(name) for name in compared if seen.get(name) != files.get(name)}
             for files in allowed]
    expect({} in wrong, row, f"status {status}, wrong: {wrong[0]}")
    expect(status in ([0, 1] if wanted is None else [wanted]), row, f"status {status}, {said}")
    if fault in ("BEFORE", "END") or status == NUMBERS["-SIGKILL"]:
        expect(says in said, row, said)
    elif status < 0:  # a signal that can wait ends no run before it said what it did
        expect(("Success" in said) == (seen.get(target) == new), row, said)
    else:
        texts = stage.texts(status, os.strerror(NUMBERS[reason or fault]), mixed)
        expect(says in said and said in texts, row, f"{said}, not {texts[0]}")
    if left:
        check(stage, 0)
    if at:
        stage.folder.chmod(0o755)
        shutil.rmtree(stage.folder)
    return calls


def check_all(rows):
    with ThreadPool() as pool:
        pool.starmap(lambda *row: check(*row[:-1], **row[-1]), rows)


def test_calls_going_wrong():
    for words in [
            "kind=nothing", "kind=nothing lacking=unnamed", "kind=file", "lacking=unnamed",
            "kind=in.bit", "kind=in.bit lacking=unnamed", "kind=in.bit lacking=new",
            "kind=symlink", "kind=symlink lacking=new", "kind=dangling lacking=unnamed",
            "kind=hard", "kind=hard lacking=new", "rights=46", "lacking=new"]:
        calls, lacking = check(words, 0), words.partition("lacking=")[2]
        del calls[len(calls) - calls[::-1].index("close"):]  # what a coverage build adds
        if not lacking:  # a temporary has a name for a moment only
            expect("linkat close renameat" in " ".join(calls), f"no O_TMPFILE in {BASE}?", calls)
        # Flushing costs much, and only an input can't be made again.
        to_rename = calls if lacking == "new" else calls[:calls.index("renameat")]
        expect([to_rename.count("fsync"), calls.count("fsync")] ==
               ["in.bit" in words or "hard" in words] * 2, f"fsync: {words}", calls)
        closed = calls.index("close", calls.index("write")) + 1
        faults = ["EIO", "EACCES", "STARVE", "-SIGINT", "-SIGHUP",
                  "-SIGTERM" if lacking == "new" else "-SIGKILL"]
        rows = []
        for at, call in enumerate(calls, 1):
            harmless = HARMLESS.get(call, [])
            for fault in harmless + faults * (call != "writev"):
                is_loss = fault in ("EIO", "EACCES") and (call in LOSSES or at == closed)
                status = (0 if fault in ["-SIGHUP", *harmless] else  # SIGHUP is ignored
                          NUMBERS[fault] if fault[0] == "-" else 1 if is_loss else None)
                is_mixed = is_loss and at == closed and lacking == "new"
                rows.append((words, status, fault, at, {"says": MIXED.format(
                    "in.bit" if "in.bit" in words else "out.bit") * is_mixed}))
        check_all([row for row in rows if row[3] >= numbers(calls, "open")[3] or
                   words == "kind=nothing"])


def test_conditions():
    protected = Path("/proc/sys/fs/protected_symlinks").read_text(encoding="ascii") == "1\n"
    rows = {
        "": "mode=640 folder=555 user=65534",
        "ENOSPC": "kind=nothing user=65534 3=/dev/full",
        "EACCES": "kind=nothing folder=555 user=65534 | mode=440 user=65534",
        "ELOOP": "kind=looping | kind=symlink links=39 | kind=dangling links=39",
        "EFBIG": "kind=in.bit large limit mode=640 folder=555 user=65534",
        "ENOENT": f"3= | 3=no/x | 3=no/ | 3=/proc/self/fd/1x | 3=/proc/{os.getpid()}/fd/9999",
        "EISDIR": "3=sub/ | 0=sub | 1=sub | 2=sub",
        "ENOTDIR": "3=out.bit/",
        "ENAMETOOLONG": "3=" + "n" * 256,
        "EBADF": "3=/proc/self/fd/99 | 3=/proc/thread-self/fd/99",
        "EISDIR exec {} <&-": "0=/dev/stdin | 1=/dev/stdin | 2=/dev/stdin",
        "EBUSY exec {} <>in.bit": "kind=in.bit large 3=/dev/fd/0",
        **{f" cat {name} | {{}}": f"large {place}=/dev/stdin | large {place}=/dev/fd/0"
           for place, name in enumerate(NAMES[:3])}}
    rows["EFBIG"] += "".join(f" | kind={kind} large limit lacking={lacking}"
                             for kind in ("file", "in.bit") for lacking in LACKING)
    for kind in "symlink", "dangling":  # 38 with those of the kind are as many as possible
        rows[""] += f" | kind={kind} links=38 | kind={kind} 3=/proc/self/cwd/sub/fd/link"
    if IS_ROOT:  # else this script can't read the output either, or make another's link
        rows[""] += (" | mode=666 folder=1777 user=65533"
                     " | kind=dangling folder=1777 folder_owner=1002")
        rows["EACCES"] += " | large limit mode=200 folder=555 user=65534"
        rows["EACCES" if protected else ""] += (
            f" | kind=symlink owner={OTHER}:{OTHER} folder=1777 folder_owner=1002 user=65534")
    check_all([(words, int(key[:1] > " "), key.partition(" ")[0],
                {"shell": key.partition(" ")[2] or "exec {}"})
               for key, stages in rows.items() for words in stages.split(" | ")])
    stage = Stage("kind=hard")  # a file that another process has open is not renamed over
    with open(stage.target, "rb") as target:
        stage.arguments[3] = f"/proc/{os.getpid()}/fd/{target.fileno()}"
        expect((stage.run(), target.read()) == (0, stage.new), "another's descriptor", stage.said)


# Nobody gets a right that he didn't have.
def test_access():
    theirs, other = f"owner={OTHER}:{OTHER}", (OTHER, OTHER)
    for words, call, fault, change in [
            ("rights=66", "", "", {}), ("inherited=66", "", "", {}), ("mode=4600", "", "", {}),
            ("rights=46", "fsetxattr", "EOPNOTSUPP", {"list": b"", "mode": 0o640}),
            ("rights=64 mode=4640", "fsetxattr", "EPERM", {"list": b"", "mode": 0o4640}),
            (f"rights=46 {theirs}", "renameat", "EBUSY", {}),  # a mount point
            ("", "renameat", "EROFS", {}), ("lacking=unnamed", "openat", "EROFS", {}),
            (f"owner={os.geteuid()}:{OTHER}", "", "", {}),
            (theirs, "fchown", "EPERM", {"owner": (0, OTHER), "mode": 0o640}),
            (f"owner=0:{OTHER} mode=6664 user=65534", "", "", {"owner": other, "mode": 0o664}),
            (f"{theirs} mode=2647", "fchown+", "EPERM", {"owner": (0, 0), "mode": 0o604}),
            (f"{theirs} rights=46", "fchown+", "EPERM",
             {"owner": (0, 0), "list": access_list(0, 6)})]:
        if "owner" in words and not IS_ROOT:
            continue
        words = f"mode=640 {words}"
        dry = Stage(words)
        dry.run()
        at = numbers([name for name, _ in dry.calls], call.strip("+"))[-1] if call else 0
        check(words, 0, fault, at, last=at + call.endswith("+"), change=change)


def test_temporary_of_another():
    for words in "", " lacking=unnamed":  # the name is what a run without random numbers chooses
        words = f"also=.ramgraft-{'0' * 16}.tmp{words}"
        check(words, 1, "EIO", numbers(check(words, 0), "getrandom")[0], reason="EEXIST")


def test_written_directly():
    # One pipe can be input and output.
    for words, feed in ("3=fifo", ""), ("0=fifo 3=fifo", "cat in.bit >fifo;"):
        stage = Stage(words)
        shell = f"mkfifo fifo; ({feed} timeout 20 cat fifo >got) & {{}}; s=$?; wait; exit $s"
        seen = stage.run(shell), (stage.folder / "got").read_bytes()
        expect(seen == (0, stage.new), words, (seen, stage.reasons))
    for name in ("/dev/fd/1 user=65534", "/dev/stdout user=65534", "/proc/self/fd/1",
                 "/proc/thread-self/fd/1"):
        for redirection in "", ">>out.bit", ">out.bit":
            stage = Stage(f"mode=640 3={name}")
            right = (stage.target.read_bytes() * (">>" in redirection) + PROGRESS.encode() +
                     stage.new + f"STATUS: Successfully wrote {name.split()[0]}\n".encode())
            status, written = stage.run(f"exec {{}} {redirection}"), stage.said.encode("latin-1")
            if redirection:
                written = stage.target.read_bytes()
            expect((status, written) == (0, right), f"{name} {redirection}", (status, written))
    status = stage.run("exec {} >&-")
    expect(status == 1, "closed standard output", status)


# Runs a tool that is to write its output although what it says gets lost.
def graft(row, shell="exec {}", **options):
    stage = Stage("")
    status = stage.run(shell, **options)
    expect(status == 0 and stage.target.read_bytes() == stage.new, row, (status, stage.reasons))
    return stage


def test_standard_streams():
    for closed in "0", "1", "2", "012":
        calls = graft(closed, "exec {} " + " ".join(f"{each}>&-" for each in closed)).calls
        # None of the run's files may take the number that messages go to.
        opened = [result for name, result in calls if name.startswith("open")]
        expect("".join(opened[:len(closed)]) == closed and min(map(int, opened[len(closed):])) > 2,
               f"closed: {closed}", opened)
    source, sink = os.pipe()
    os.close(source)
    for stream in sink, os.open("/dev/full", os.O_WRONLY):
        reasons = graft("lost lines", stdout=stream).reasons
        expect(re.fullmatch("WARNING: can't write to standard output: .*\n", reasons), "warning",
               reasons)
    # A line is seen at once, and what others write to the pipe doesn't come into its middle.
    source, sink = os.pipe2(os.O_DIRECT)  # keeps apart what was written apart
    graft("pipe", stdout=sink)
    os.close(sink)
    lines = [line.decode() for line in iter(lambda: os.read(source, 9999), b"")]
    expect(lines == [*f"{PROGRESS}STATUS: Successfully wrote out.bit\n".splitlines(True)], "lines",
           lines)


# What was read counts, and only what happens to a file while it is read.
def test_inputs_changed():
    calls, changed = check("", 0), "it was changed while in use"
    for place, name in enumerate(("ram.wid", "words.mem", "in.bit")):
        begin, end = numbers(calls, "fstat")[place * 2:][:2]
        opened = numbers(calls, "open")[place]
        replace = f"echo G >new && mv new {name}"
        check("", 1, "END", numbers(calls, "read")[place * 2],
              says=f"can't read file {name}: it ends before its size says so")
        for before, first, last, says in [
                (f"rm {name}", 1, opened, "ERROR"), (f"{replace} && {replace}", 1, opened, "ERROR"),
                (f"touch {name}", begin + 1, end, changed), (f": >{name}", begin + 1, end, changed),
                (f"touch -r {name} t; echo >>{name}; touch -r t {name}", begin + 1, end, changed)]:
            check_all([("", int(at <= last), "BEFORE", at, {
                "before": before, "says": says * (at <= last)}) for at in range(first, len(calls))])


# In place, all is done with the file that was opened, whatever its name leads to by then.
def test_in_place():
    words = "large lacking=new"
    calls = check(words, 0)
    start, lock, seek, cut = numbers(calls, "open")[3] + 1, *(
        numbers(calls, name)[0] for name in ("flock", "lseek", "ftruncate"))
    check_all(
        [(limit + words, 1 if limit else None, "BEFORE", at,
          {"before": f"mv out.bit moved; {other}", "moved": "moved"}) for at in range(start, cut)
         for limit in ("", "limit ") for other in ("mkfifo out.bit", "ln -s words.mem out.bit")] +
        [(words, 1, "EIO", at, {"last": at + 1, "says": MIXED.format("out.bit")})
         for at in range(seek, cut + 1)] +  # neither written nor put back
        [(words, 1, "BEFORE", seek - 1, {"before": "touch out.bit", "says": IN_USE})] +
        # From the lock to the end, a second run keeps off.
        [("large mode=640 folder=555 user=65534", 0, "BEFORE", at, {
            "before": f"{RAMGRAFT} in.bit *.wid *.mem out.bit; test $? = {at > lock:d}",
            "says": f"out.bit: {IN_USE}\n" if at > lock else ""}) for at in range(start, cut + 2)])


# Who may create files in a folder must not choose what is replaced by putting links there. Nor is
# anything replaced that has come in the meantime.
def test_links_swapped():
    for words, before, reason in [
            ("kind=symlink", "ln -sfn words.mem out.bit", IN_USE),
            ("kind=symlink", "cp words.mem new; mv new to.bit", IN_USE),
            ("kind=symlink", "ln -sfn out.bit out.bit", os.strerror(errno.ELOOP)),
            ("kind=in.bit", "cp in.bit new; mv new in.bit", IN_USE),  # by a run that needs no lock
            (f"kind=nothing folder=1777 folder_owner={OTHER}",
             "ln -s words.mem out.bit; chown -h 1002 out.bit", os.strerror(errno.EACCES))]:
        if "owner" in words and not IS_ROOT:
            continue
        calls = check(words, 0)
        start = numbers(calls, "open")[3] + 1
        for at in range(start, numbers(calls, "renameat")[0] + 1):
            stage = Stage(words)
            stage.run(at=at, fault="BEFORE", before=before)
            expect(stage.reasons in [f"{stage.arguments[3]}: {reason}\n", ""][:1 + (at > start)] and
                   (stage.folder / "words.mem").read_bytes() == TEXT_FILES["words.mem"],
                   f"{words}, at {at} {before}", stage.reasons)


# Both updates are in the file, whatever the order.
def test_updates_wait():
    one, other = COMMANDS, COMMANDS.replace(b"\x28", b"\x30")
    for words in "", "folder=555 user=65534 mode=666":  # by renaming, in place
        for _ in range(5):
            stage = Stage(f"kind=in.bit {words}")
            (stage.folder / "other.wid").write_bytes(b"0b000000110\naw10;dw8\n")
            stage.target.write_bytes(b"\xff" * (2 << 20) + one + OLD + other + OLD)
            status = stage.run(f"{RAMGRAFT} in.bit other.wid words.mem in.bit & {{}} && wait $!")
            updates = stage.target.read_bytes().count(NEW[:9])
            expect((status, updates) == (0, 2), f"two updates {words}", stage.reasons)


if __name__ == "__main__":
    os.umask(0o022)
    for ending in signal.SIGHUP, signal.SIGINT, signal.SIGTERM:  # as a shell starts programs, but
        signal.signal(ending, signal.SIG_IGN if ending == signal.SIGHUP else signal.SIG_DFL)
    ROW = os.environ.get("ROW", "")
    with tempfile.TemporaryDirectory() as BASE:
        os.chmod(BASE, 0o755)
        RAMGRAFT, SHIM = (shutil.copy(path, BASE) for path in sys.argv[1:3])  # for the other user
        for copied in RAMGRAFT, SHIM:
            os.chmod(copied, 0o755)  # the umask they were built with may keep others out
        tests = [value for name, value in globals().items() if name.startswith("test_")]
        HALF = slice(int(sys.argv[3]), None, 2) if len(sys.argv) > 3 else slice(None)
        for test in tests[HALF]:
            test()
    sys.exit(f"{len(failures)} failed" if failures else 0)
