"""Builds and runs the program of docs/library.md, as the page says, against an installed and then
moved copy of the library, and holds what it writes against the tool's own run.

Usage: installed.py SOURCE_FOLDER BUILD_FOLDER COMPILER FLAGS
The compiler may come with a launcher, like "env g++".
"""

import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

# pylint: disable-next=unbalanced-tuple-unpacking  # it counts its own arguments
source, build, compiler, flags = sys.argv[1:]
page = (Path(source) / "docs/library.md").read_text(encoding="utf-8")
program, command, lists = (re.search(rf"```{language}\n(.*?)```", page, re.DOTALL)[1]
                           for language in ("cpp", "bash", "cmake"))

with tempfile.TemporaryDirectory() as name:
    scratch = Path(name)

    def run(*args):
        """Runs a command in the scratch folder; returns what it prints."""
        environment = os.environ | {"CXX": compiler,
                                    "PKG_CONFIG_PATH": f"{scratch}/moved/lib/pkgconfig"}
        done = subprocess.run(args, cwd=scratch, env=environment, text=True, check=False,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        if done.returncode != 0:
            sys.exit(f"{args}: status {done.returncode}\n{done.stdout}")
        return done.stdout

    run("cmake", "--install", build, "--prefix", "first", "--component", "development")
    (scratch / "first").rename(scratch / "moved")
    (scratch / "graft.cpp").write_text(program)
    (scratch / "CMakeLists.txt").write_text(lists)
    run(sys.executable, "-B", f"{source}/examples/make_example.py", ".")
    run(f"{build}/ramgraft", "in.bit", "ram.wid", "firmware.mem", "expected.bit")
    expected = (scratch / "expected.bit").read_bytes()
    run("cmake", "-B", "build", f"-DCMAKE_PREFIX_PATH={scratch}/moved",
        f"-DCMAKE_CXX_FLAGS={flags}")
    run("cmake", "--build", "build")
    run("sh", "-c", command.replace("g++", f"$CXX {flags}"))
    wids = [line[2:] for line in (scratch / "ram.wid").read_text().split()[:-1]]
    for built in ("build/graft", "./graft"):
        lines = run(built).splitlines()
        if [line.split()[0] for line in lines] != wids or not lines[0].endswith("old CRC right"):
            sys.exit(f"{built} prints\n" + "\n".join(lines))
        if (scratch / "out.bit").read_bytes() != expected:
            sys.exit(f"{built} writes other bytes than ramgraft")
        (scratch / "out.bit").unlink()
