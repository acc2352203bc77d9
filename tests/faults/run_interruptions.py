#!/usr/bin/env python3
"""Interrupts long listings at random moments.

usage: run_interruptions.py PROGRAM [RUNS [SEED]]

SIGINT and SIGTERM end the command with status 1 and leave no segment; SIGHUP ends it the default way;
SIGPIPE and a reader that goes away do not end it at all. A signal that comes before the command has
arranged its handlers, or after it is done, finds the default action or nothing: there is no segment
then either.
"""
import os
import random
import signal
import subprocess
import sys
import tempfile
import shutil
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import daemon  # noqa: E402
from run_faults import segments_of  # noqa: E402

BATCHES = 30
RECORDS = daemon.reset_record("10.0.0.1", "203.0.113.7", b"a.example") * 400
COMMANDS = [["tcpreset", "list"], ["tcpreset", "listip", "sort=http", "order=asc"],
            ["tcpreset", "listdns"]]
ENDS = {signal.SIGINT: {1, 0, -signal.SIGINT}, signal.SIGTERM: {1, 0, -signal.SIGTERM},
        signal.SIGHUP: {0, -signal.SIGHUP}, signal.SIGPIPE: {0, -signal.SIGPIPE}}


class LongListings(daemon.Daemon):
    """Answers with the same batch until enough were sent."""

    dictionary = False

    def batch(self, name, number):
        return RECORDS, 400, 0, number + 1 >= BATCHES


def remove_segments(lines):
    for line in lines:
        subprocess.run(["ipcrm", "-m", line.split()[1]], check=True)


def interrupt(program, root, words, number, delay, reads):
    environment = {"PATH": "/usr/bin:/bin", "TZ": "UTC", "LC_ALL": "C"}
    process = subprocess.Popen([program] + words, cwd=root, env=environment,
                               stdout=subprocess.PIPE if not reads else subprocess.DEVNULL,
                               stderr=subprocess.PIPE, stdin=subprocess.DEVNULL)
    if not reads:
        process.stdout.close()  # the reader goes away
    time.sleep(delay)
    process.send_signal(number)
    _, err = process.communicate(timeout=30) if reads else (None, process.stderr.read())
    status = process.wait(timeout=30)
    left = segments_of(process.pid)
    problem = None
    if status not in ENDS[number]:
        problem = f"status {status} after {number.name}: {err!r}"
    elif left and number in (signal.SIGINT, signal.SIGTERM, signal.SIGPIPE):
        problem = f"a segment is left after {number.name}, status {status}"
    remove_segments(left)
    return status, problem


def main():
    program = os.path.abspath(sys.argv[1])
    runs = int(sys.argv[2]) if len(sys.argv) > 2 else 100
    random.seed(int(sys.argv[3]) if len(sys.argv) > 3 else 1)
    root = tempfile.mkdtemp(prefix="qsvmon_interruptions_")
    for folder in ("var/tmp", "usr/ramdisk/var", "conf"):
        os.makedirs(os.path.join(root, folder))
    server = LongListings(root)
    problems, interrupted = [], 0
    try:
        for run in range(runs):
            status, problem = interrupt(program, root, random.choice(COMMANDS),
                                        random.choice(list(ENDS)), random.random() * 0.03,
                                        random.random() < 0.8)
            interrupted += status != 0
            if problem:
                problems.append(f"run {run}: {problem}")
    finally:
        server.close()
        shutil.rmtree(root)
    for problem in problems:
        print(problem)
    print(f"{runs} runs, {interrupted} ended by their signal, {len(problems)} wrong")
    return 1 if problems or interrupted == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
