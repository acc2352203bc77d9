#!/usr/bin/env python3
"""Counts the instructions of one whole command beside a plain C program that makes the same exchange.

usage: instructions.py PROGRAM PLAIN_EXCHANGE

PROGRAM is qsvmon built with root "." and PLAIN_EXCHANGE is bench/plain_exchange.c. Both ask the same
daemon for the same text under valgrind's callgrind; prints both counts and their ratio, and fails
above 1.1.
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../tests/faults"))
import daemon  # noqa: E402

MOST = 1.1


def count(root, words):
    run = subprocess.run(["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null"] + words,
                         cwd=root, capture_output=True, check=True,
                         env={"PATH": "/usr/bin:/bin", "TZ": "UTC", "LC_ALL": "C"})
    if run.stdout != daemon.TEXT:
        sys.exit(f"unexpected output of {words[0]}: {run.stdout!r}")
    return int(re.search(rb"Collected : (\d+)", run.stderr).group(1))


def main():
    program, plain = (os.path.abspath(path) for path in sys.argv[1:3])
    root = tempfile.mkdtemp(prefix="qsvmon_instructions_")
    for folder in ("var/tmp", "usr/ramdisk/var"):
        os.makedirs(os.path.join(root, folder))
    server = daemon.Daemon(root)
    try:
        ours = count(root, [program, "module", "stat", "a", "b"])
        floor = count(root, [plain, "./var/tmp/qsvlog.d", "a", "b"])
    finally:
        server.close()
        shutil.rmtree(root)
    print(f"command {ours} instructions, plain C {floor}, ratio {ours / floor:.3f}")
    return 0 if ours <= MOST * floor else 1


if __name__ == "__main__":
    sys.exit(main())
