"""Long listings under a memory bound, and many clients at once, through the real program.

usage: load.py [--records N] [--distinct K ...] [--clients N] [--seed S]

Runs every listing with N generated records (4000000) of the simulated appliance, of which K have different
addresses and names (0: all different), and compares the client's peak memory with the bound of
docs/limits.md. Then lets many clients ask one appliance at once and compares all answers. Needs
qsvmon-here and qsvsim, from the environment (QSVMON_PROGRAM, QSVSIM_PROGRAM). Ends with status 0 when
all holds.
"""
import argparse
import collections
import os
import re
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "simulated"))
import harness  # noqa: E402

MIB = 1 << 20

# The bounds of docs/limits.md. FIXED: program, 2 MiB area, output buffer, pools of a small
# configuration, the first slots of a large table, the last chunk of 4 MiB and the rounding to large
# pages. The others are bytes.
FIXED = 16 * MIB
LIST_EXTRA = 20  # what a list keeps beside each record, while it is sorted
ENTRY_EXTRA = 48  # what a fold keeps beside each entry, while its table grows or is sorted
MAIL_BYTES = 150  # elements of a generated mail, on average, and more
LOGIN_BYTES = 72  # the same of FTP and Telnet records: 29 bytes and their texts
COUNTS = 128  # of an entry that more than four signatures hit

# A program started by this one has this one's peak for a start: a small program goes between.
TIME = ["/usr/bin/time", "-f", "%M %U %S", "-o"]
# Between that and the command: says which process the command is.
SAY_NUMBER = ["sh", "-c", 'echo $$ >number && exec "$@"', "sh"]

Listing = collections.namedtuple("Listing", "words kind size ends")

# kind "stream": nothing is kept; "page": what a page of 20 needs; "list": records of `size` bytes;
# "fold": entries of `size` bytes. `ends` is what the end of the output looks like; a group in it is
# the number of rows.
LISTINGS = [
    Listing("tcpreset list", "stream", 0, rb"\n"),
    Listing("tcpreset listip type=dst sort=flowcnt order=asc row=1-20", "fold", 44,
            rb'"total":(\d+)}'),
    Listing("tcpreset listip type=src row=1-20", "fold", 44, rb'"total":(\d+)}'),
    Listing("tcpreset listdns sort=flowcnt order=asc row=1-20", "fold", 88, rb'"total":(\d+)}'),
    Listing("malclog list listtype=detail page=1 limit=20", "stream", 0, rb'"count":\d+}'),
    Listing("malclog list listtype=dst page=1 limit=20", "fold", 24 + COUNTS, rb'"count":(\d+)}'),
    Listing("malclog list listtype=src page=1 limit=20", "fold", 24 + COUNTS, rb'"count":(\d+)}'),
    Listing("malclog list listtype=host page=1 limit=20", "fold", 72 + COUNTS, rb'"count":(\d+)}'),
    Listing("malclog list listtype=app page=1 limit=20", "stream", 0, rb'"count":\d+}'),
    Listing("malclog list listtype=table page=1 limit=20", "stream", 0, rb'"count":\d+}'),
    Listing("emaillog list page=1 limit=20", "page", 0, rb'"count":(\d+)}'),
    Listing("ftplog list page=1 limit=20", "page", 0, rb'"count":(\d+)}'),
    Listing("telnetlog list page=1 limit=20", "page", 0, rb'"count":(\d+)}'),
    Listing("emaillog list download=1", "list", MAIL_BYTES, rb"\.csv\n"),
    Listing("ftplog list download=1", "list", LOGIN_BYTES, rb"\.csv\n"),
    Listing("telnetlog list download=1", "list", LOGIN_BYTES, rb"\.csv\n"),
]


def bound(listing, records, rows):
    """The most bytes that the client may use."""
    if listing.kind == "list":
        return FIXED + records * (listing.size + LIST_EXTRA)
    if listing.kind == "fold":
        return FIXED + rows * (listing.size + ENTRY_EXTRA)
    return FIXED


class Run:
    """One command to its end: status, last bytes of the output, peak memory in bytes, seconds."""

    def __init__(self, appliance, words):
        started = time.monotonic()
        figures = os.path.join(appliance.root, "figures")
        with tempfile.TemporaryFile() as out:
            process = subprocess.run([*TIME, figures, *SAY_NUMBER, harness.CLIENT, *words.split()],
                                     cwd=appliance.root, stdin=subprocess.DEVNULL, stdout=out)
            size = out.seek(0, os.SEEK_END)
            out.seek(max(0, size - 4096))
            self.end = out.read()
        self.seconds = time.monotonic() - started
        with open(figures) as file:
            kib, user, system = file.read().split()[-3:]
        self.cpu = float(user) + float(system)
        self.status = process.returncode
        self.peak = int(kib) * 1024
        with open(os.path.join(appliance.root, "number")) as file:
            number = file.read().strip()
        self.left_a_segment = number in {maker for _, maker in harness.segments()}


def run_listings(records, distinct, seed):
    """Every listing once. Returns what went wrong, one line each."""
    wrong = []
    rows = distinct or records
    appliance = harness.Appliance("--records", str(records), "--distinct", str(distinct),
                                  "--seed", str(seed))
    try:
        for listing in LISTINGS:
            run = Run(appliance, listing.words)
            most = bound(listing, records, rows)
            print(f"{listing.words:58} {distinct:8} {run.peak / MIB:9.1f} {most / MIB:9.1f} "
                  f"{run.cpu:7.2f} {run.seconds:7.2f}", flush=True)
            end = re.search(listing.ends + rb"$", run.end)
            if run.status != 0 or end is None:
                wrong.append(f"{listing.words}: status {run.status}, ends {run.end[-60:]!r}")
            elif end.groups():
                expected = records if listing.kind == "page" else rows
                shown = int(end.group(1))
                # Drawing at random leaves some of the different names out.
                if not expected * 0.9 <= shown <= expected or not (distinct or shown == expected):
                    wrong.append(f"{listing.words}: {shown} rows, not {expected}")
            if run.left_a_segment:
                wrong.append(f"{listing.words}: a segment is left")
            if run.peak > most:
                wrong.append(f"{listing.words}: {run.peak} bytes, more than {most}")
    finally:
        appliance.close()
    return wrong


def run_clients(count):
    """`count` clients at once, of several listings; each answer must be what one client alone gets."""
    asked = ["tcpreset listip sort=flowcnt order=asc row=1-50", "tcpreset listdns", "tcpreset list",
             "malclog list listtype=dst", "emaillog list limit=20", "ftplog list limit=20",
             "telnetlog list limit=20", "module list"]
    wrong = []
    appliance = harness.Appliance("--records", "40000", "--distinct", "500", "--seed", "3")
    try:
        alone = {words: appliance.run(*words.split()).out for words in asked}
        clients = []
        for number in range(count):
            words = asked[number % len(asked)]
            out = tempfile.TemporaryFile()
            clients.append((words, out, subprocess.Popen(
                [harness.CLIENT, *words.split()], cwd=appliance.root, stdin=subprocess.DEVNULL,
                stdout=out, env=dict(os.environ, TZ="UTC"))))
        for words, out, process in clients:
            status = process.wait(timeout=600)
            out.seek(0)
            if status != 0 or out.read() != alone[words]:
                wrong.append(f"one of {count} clients: {words}: status {status}")
            out.close()
        pids = {str(process.pid) for _, _, process in clients}
        if any(maker in pids for _, maker in harness.segments()):
            wrong.append(f"{count} clients: a segment is left")
    finally:
        appliance.close()
    print(f"{count} clients at once: {'all answers right' if not wrong else 'WRONG'}")
    return wrong


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--records", type=int, default=4000000)
    parser.add_argument("--distinct", type=int, nargs="+", default=[0, 50000])
    parser.add_argument("--clients", type=int, default=200)
    parser.add_argument("--seed", type=int, default=1)
    options = parser.parse_args()
    print(f"{options.records} records, seed {options.seed}")
    print(f"{'':58} distinct  peak MiB     bound   cpu s  wall s")
    wrong = []
    for distinct in options.distinct:
        wrong += run_listings(options.records, distinct, options.seed)
    wrong += run_clients(options.clients)
    for line in wrong:
        print("WRONG:", line)
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
