#!/usr/bin/env python3
"""Flips bits of the dictionary library and runs a command whose reply brings tables for it.

usage: run_damage.py PROGRAM DICT_LIBRARY [FLIPS [SEED]]

Each run has one flipped bit. What the headers say is checked before the loader gets the file, but not
the tables, relocations and instructions in it: a command that they end is counted and said, and must
leave no segment where a handler can run. PROGRAM may be several words, a runner and what it runs;
QSVMON_MAY_LEAVE=1 then allows segments (a loader that blocks signals).
"""
import collections
import os
import random
import shlex
import shutil
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import daemon  # noqa: E402
from run_faults import segments_of  # noqa: E402

WORDS = ["tcpreset", "list"]
# With 127 the loader itself ends the process, where it finds the file at odds with itself.
ENDS = {0: "ran", 255: "refused", 127: "ended by the loader"}


def run(program, root):
    process = subprocess.Popen(program + WORDS, cwd=root, stdin=subprocess.DEVNULL,
                               stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                               env=dict(os.environ, TZ="UTC", LC_ALL="C"))
    try:
        out = process.communicate(timeout=10)[0]
        end = ENDS.get(process.returncode, f"killed by {-process.returncode}")
    except subprocess.TimeoutExpired:  # a chain of the library that leads into itself
        process.terminate()
        out = process.communicate()[0]
        end = "stuck"
    left = segments_of(process.pid)
    for line in left:
        subprocess.run(["ipcrm", "-m", line.split()[1]], check=False)
    return end, out, bool(left)


def main():
    program = [os.path.abspath(word) for word in shlex.split(sys.argv[1])]
    with open(sys.argv[2], "rb") as file:
        library = file.read()
    flips = int(sys.argv[3]) if len(sys.argv) > 3 else 1000
    random.seed(int(sys.argv[4]) if len(sys.argv) > 4 else 1)
    may_leave = os.environ.get("QSVMON_MAY_LEAVE") == "1"
    root = tempfile.mkdtemp(prefix="qsvmon_damage_")
    for folder in ("var/tmp", "usr/ramdisk/var", "usr/ramdisk/bin", "conf"):
        os.makedirs(os.path.join(root, folder))
    path = os.path.join(root, "usr/ramdisk/bin/dict.so")
    server = daemon.Daemon(root)
    ends, left_by, problems = collections.Counter(), collections.Counter(), []
    try:
        for _ in range(flips):
            bit = random.randrange(len(library) * 8)
            damaged = bytearray(library)
            damaged[bit // 8] ^= 1 << bit % 8
            with open(path + ".new", "wb") as file:
                file.write(damaged)
            os.rename(path + ".new", path)
            end, _, left = run(program, root)
            ends[end] += 1
            left_by[end] += left
            if left and not may_leave and end != "ended by the loader":
                problems.append(f"bit {bit % 8} of byte {bit // 8}: {end}, a segment is left")
    finally:
        server.close()
        shutil.rmtree(root)
    for problem in problems:
        print(problem)
    print(f"{flips} flips: " + ", ".join(f"{count} {end}" for end, count in ends.most_common()))
    print("segments left: " + ", ".join(f"{left_by[end]} of those {end}" for end in ends))
    return 1 if problems or ends["ran"] == 0 or ends["refused"] == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
