#!/usr/bin/env python3
"""Runs every listing with memory that stays scarce: address-space limits over a range.

usage: run_scarce.py PROGRAM DICT_LIBRARY [STEP_KIB]

The daemon sends full areas of records that are all different, so that tables and lists want to grow.
Under every limit, from the least that the program starts with up to enough, a command ends by itself
within its processor time, with 0 or 255, says nothing on standard error but that a configuration file
could not be opened, and leaves no segment. What it prints is whole from some limit on; a download prints
a name instead.
"""
import os
import resource
import struct
import subprocess
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import daemon  # noqa: E402
from run_faults import COMMANDS, Appliance, segments_of  # noqa: E402

MOST_KIB = 65536
CPU_SECONDS = 5


def address(number):
    return struct.pack(">I", 0x0a000000 + number)


def many(make):
    """As many records as fill the area behind the tables, each made from its number; their size."""
    size = len(make(0))
    return b"".join(make(n) for n in range((2 * 1024 * 1024 - 8192) // size)), size


def reset(n):
    return (struct.pack("<I", daemon.TIME) + address(n) + address(n * 7) + struct.pack(">HH", 1234, 443)
            + struct.pack("<QHHIB", 150, 1, 2, (6 << 26) | (200 << 14) | 7, 3)
            + b"%d.example" % n + bytes(31 - len(b"%d.example" % n)))


def event(n):
    host = b"%d.example" % n
    return (struct.pack("<I", daemon.TIME) + address(n) + address(n * 7)
            + struct.pack(">HH", 1234, 443) + struct.pack("<QH", 1, n % 60000) + daemon.MAC
            + struct.pack("<BBB", 6, 2, len(host)) + host.ljust(45, b"\0"))


class FullAreas(daemon.Daemon):
    """Answers the listings with two full batches and the other commands as ever."""

    def __init__(self, root):
        self.full = {b"tcpreset": many(reset), b"qsvmalicious": many(event),
                     b"emaillog": many(lambda n: daemon.mail(n, b"subject %d" % n)),
                     b"ftplog": many(daemon.ftp), b"telnetlog": many(daemon.telnet)}
        super().__init__(root)

    def batch(self, name, number):
        if name not in self.full:
            return super().batch(name, number)
        data, size = self.full[name]
        count = len(data) // size
        if name == b"qsvmalicious" and number == 0:
            data = daemon.TABLE + data
        return data, count, 0, number >= 1


def run(program, root, words, kib):
    def limit():
        if kib:
            resource.setrlimit(resource.RLIMIT_AS, (kib * 1024, kib * 1024))
        resource.setrlimit(resource.RLIMIT_CPU, (CPU_SECONDS, CPU_SECONDS))
    process = subprocess.Popen([program] + words, cwd=root, stdin=subprocess.DEVNULL,
                               stdout=subprocess.PIPE, stderr=subprocess.PIPE, preexec_fn=limit,
                               env={"PATH": "/usr/bin:/bin", "TZ": "UTC", "LC_ALL": "C"})
    out, err = process.communicate(timeout=60)
    left = segments_of(process.pid)
    for line in left:
        subprocess.run(["ipcrm", "-m", line.split()[1]], check=True)
    return process.returncode, out, err, bool(left)


def least_kib(program, root, step):
    """The least limit, in whole steps, under which the program lists its modules."""
    kib = step
    while run(program, root, [], kib)[0] != 255:
        kib += step
    return kib


def problem_of(status, err, left):
    err = err.replace(b"fopen: Cannot allocate memory\n", b"")  # for each file, as for any that is not there
    if left:
        return "a segment is left"
    return None if status in (0, 255) and not err else f"status {status} {err!r}"


def main():
    program, dictionary = (os.path.abspath(path) for path in sys.argv[1:3])
    step = int(sys.argv[3]) if len(sys.argv) > 3 else 512
    appliance = Appliance(dictionary)
    appliance.daemon.close()
    for path in appliance.daemon.paths:
        os.unlink(path)
    appliance.daemon = FullAreas(appliance.root)
    problems = []
    try:
        least = least_kib(program, appliance.root, step)
        for words in COMMANDS:
            status, whole, _, _ = run(program, appliance.root, words, 0)
            counts, kib = {}, least
            while kib <= MOST_KIB:
                status, out, err, left = run(program, appliance.root, words, kib)
                problem = problem_of(status, err, left)
                if problem:
                    problems.append(f"{' '.join(words)} in {kib} KiB: {problem}")
                kind = "whole" if out == whole else "short" if status == 0 else "failed"
                counts[kind] = counts.get(kind, 0) + 1
                kib += step if kib < 16384 else 8 * step
            print(f"{' '.join(words)}: {counts}", flush=True)
            if "download=1" not in words and not counts.get("whole"):
                problems.append(f"{' '.join(words)}: never whole")
    finally:
        appliance.close()
    for problem in problems:
        print(problem)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
