#!/usr/bin/env python3
"""Makes every system call of every family of commands fail once.

usage: run_faults.py PROGRAM FAIL_NTH_LIBRARY DICT_LIBRARY

For each command and each function the n-th call fails, for n counting up until the command makes
fewer calls than n. After each run: the process ended by itself with 0 or 255, standard output is one
of the texts that such a failure gives, and no segment, open descriptor or file is left but a
download. A listing that could not keep a record must read as if the daemon had not sent it.
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import daemon  # noqa: E402

CONFIG = ("mac m=10.0.0.1 d=office\n"
          "mac m=00:11:22:33:44:55 d=laptop\n"
          "malcitlgc id=3 name=bot cname=botnet\n"
          "cusiprng iprng=203.0.113.0/24 info=outside\n")
ASSETS = ("group id=1 name=servers\n"
          "assets id=1 pid=1 name=printer value=10.0.0.2\n")

COMMANDS = [
    ["sysboot"],
    ["module", "stat", "a"],
    ["worker", "list", "type=x"],
    ["tcpreset", "listip", "type=src"],
    ["tcpreset", "listdns", "sort=flowcnt", "order=desc"],
    ["tcpreset", "list"],
    ["malclog", "list", "listtype=detail"],
    ["malclog", "list", "listtype=dst"],
    ["malclog", "list", "listtype=app"],
    ["malclog", "list", "listtype=table"],
    ["malclog", "list", "listtype=host"],
    ["emaillog", "list"],
    ["emaillog", "list", "download=1"],
    ["ftplog", "list"],
    ["ftplog", "list", "download=1"],
    ["telnetlog", "list"],
    ["qsviptable", "get", "5"],
    ["table", "get", "5"],
    ["assetsobj2", "list"],
    ["table", "addip", "5", "10.1.1.1"],
]

# function -> the modes in which its calls fail
CALLS = {
    "socket": ["error"], "connect": ["error", "eintr"], "shmget": ["error"], "shmat": ["error"],
    "send": ["error", "short", "eintr"], "recv": ["error", "short", "eintr"],
    "poll": ["error", "short", "eintr"], "write": ["error", "short", "eintr"],
    "read": ["error", "short", "eintr"], "open": ["error"], "fopen": ["error"], "fgets": ["error"],
    "fread": ["error"], "fwrite": ["error"], "dlopen": ["error"], "dlsym": ["error"],
    "malloc": ["error"], "calloc": ["error"], "realloc": ["error"], "mmap": ["error"],
}

# The loader's own words, which the dictionary's failure carries.
DICT_NOT_LOADED = r"\./usr/ramdisk/bin/dict\.so: cannot [A-Za-z: ]+\n"

# What standard output may end with when the call failed and the command could not go on.
ENDINGS = {
    "socket": [r"socket_connect: socket fail with Too many open files\ncan't connect to \./[a-z./]+",
               r"socket_connect: socket fail with Too many open files\ncan't connect \./[a-z./]+\n"],
    "connect": [r"can't connect to \./[a-z./]+", r"can't connect \./[a-z./]+\n"],
    "shmget": [r"rpc_init: shmget fail\(No space left on device\)\n"],
    "shmat": [r"rpc_init: shmat fail\(Cannot allocate memory\)\n"],
    "send": [r"s_Broken pipe_32\n", r"s_Interrupted system call_4\n"],
    "recv": [r"r_Connection reset by peer_104\n", r"r_Interrupted system call_4\n"],
    "poll": [],
    "dlopen": [r"dlopen\n"],
    "dlsym": [r"AXPDICT_NOT_FOUND\n", r"USRAXPS_NOT_FOUND\n", r"USRAGPS_NOT_FOUND\n"],
    "fopen": [r"xlsxwriter init failed\.\n"],
    "open": [r"xlsxwriter init failed\.\n"],
    "malloc": [r"out of memory\n", r"CMPBASE_MALLOC_ERROR\n", r"xlsxwriter init failed\.\n",
               DICT_NOT_LOADED],
    "calloc": [DICT_NOT_LOADED],
}
# Functions whose failure may only change what is known about an address.
UNLABELLING = {"fopen", "open", "fgets", "fread", "read"}
# Functions whose failure may also drop a record.
DROPPING = {"malloc", "calloc", "realloc", "mmap"}
# What is said on the way, by a listing that goes on without what it could not make.
REMARKS = ["itlgc_pool alloc fail\n", "fail to init ipmacdesc pool\n", "NO_MEM\n",
           "assetsdesc_init: fail to alloc 660480 bytes\n"]
# Without a copy of the signature table no record is looked at.
TABLELESS = [out.replace("FAIL", "fail to malloc tidpool size\n")
             for out in ('FAIL{"data":[],"count":0}', '{"data":[FAIL], "count":0}')]
# What "sysboot" prints when the system does not say when it was started; with status 0.
UNKNOWN_BOOT = "fail to get bootup time\n"
# Functions whose failure may cut a sheet: what the file does not take is lost.
SHEET_LOSING = {"write", "fwrite"}


def without_labels(text):
    return re.sub(r'(_desc":")[^"]*', r"\1", text)


def without_remark(text):
    for remark in REMARKS:
        if remark in text:
            return text.replace(remark, "", 1)
    return text


class Appliance:
    def __init__(self, dictionary):
        self.root = tempfile.mkdtemp(prefix="qsvmon_faults_")
        for folder in ("var/tmp", "usr/ramdisk/var", "usr/ramdisk/bin", "usr/qsvlog", "conf"):
            os.makedirs(os.path.join(self.root, folder))
        self.write("conf/korvale.conf", CONFIG)
        self.write("conf/qsv_assets.conf", ASSETS)
        shutil.copy(dictionary, os.path.join(self.root, "usr/ramdisk/bin/dict.so"))
        self.daemon = daemon.Daemon(self.root)

    def write(self, name, text):
        with open(os.path.join(self.root, name), "w", encoding="ascii") as file:
            file.write(text)

    def close(self):
        self.daemon.close()
        shutil.rmtree(self.root)

    def files(self):
        """Every file below the root but the sockets, as its path there."""
        found = (os.path.join(folder, name) for folder, _, names in os.walk(self.root)
                 for name in names if not name.endswith(".d"))
        return {os.path.relpath(path, self.root) for path in found}

    def take_download(self):
        """The text of the sheet that the last command wrote, which is removed; None without one."""
        folder = os.path.join(self.root, "usr/qsvlog")
        text = None
        for name in os.listdir(folder):
            with open(os.path.join(folder, name), encoding="latin-1") as file:
                text = file.read()
            os.unlink(os.path.join(folder, name))
        return text


SHM_DEST = 0o1000  # removed already; gone as soon as the daemon, too, has detached from it


def segments_of(pid):
    """The lines of the kernel's table for the segments that the process made and did not remove."""
    with open("/proc/sysvipc/shm", encoding="ascii") as table:
        rows = [(line, line.split()) for line in table.readlines()[1:]]
    return [line for line, fields in rows
            if fields[4] == str(pid) and not int(fields[2], 8) & SHM_DEST]


class Runner:
    def __init__(self, program, library, appliance):
        self.program, self.library, self.appliance = program, library, appliance
        self.count_file = os.path.join(appliance.root, "count")
        self.failures = []
        self.runs = 0
        self.left_open = 0
        self.shortened = set()  # what the command prints when records are withheld
        self.files = appliance.files()

    def run(self, words, call="", at=0, mode="error"):
        environment = {"PATH": "/usr/bin:/bin", "TZ": "UTC", "LC_ALL": "C", "FAIL_CALL": call,
                       "FAIL_AT": str(at), "FAIL_MODE": mode, "FAIL_COUNT": self.count_file,
                       "LD_PRELOAD": self.library}
        process = subprocess.Popen([self.program] + words, cwd=self.appliance.root,
                                   env=environment, stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE, stdin=subprocess.DEVNULL)
        out, err = process.communicate(timeout=60)
        self.runs += 1
        left = segments_of(process.pid)
        try:
            with open(self.count_file, encoding="ascii") as file:
                seen, self.left_open = (int(number) for number in file.read().split())
            os.unlink(self.count_file)
        except (OSError, ValueError):
            seen, self.left_open = None, 0  # ended by _exit: the command could not go on
        return process.returncode, out.decode("latin-1"), err.decode("latin-1"), seen, left

    def complain(self, what, words, call, at, mode, out):
        self.failures.append(f"{' '.join(words)}: {call} #{at} ({mode}): {what}\n  {out!r}")

    def check(self, words, call, at, mode, wanted, result):
        status, out, err, _, left = result
        if left:
            self.complain("a segment is left", words, call, at, mode, out)
        if self.left_open:
            self.complain(f"{self.left_open} descriptors are open", words, call, at, mode, out)
        if status not in (0, 255):
            self.complain(f"status {status}, {err!r}", words, call, at, mode, out)
            return
        sheet = self.appliance.take_download()
        if self.appliance.files() != self.files:
            self.complain(f"left {self.appliance.files() - self.files}", words, call, at, mode, out)
        out = re.sub(r"\d{14}\.csv", "NAME.csv", out)
        if out == wanted and status == 0:
            if call not in SHEET_LOSING and sheet not in self.sheets:
                self.complain(f"the sheet reads {sheet!r}", words, call, at, mode, out)
            return
        if any(re.search(ending + r"\Z", out) for ending in ENDINGS.get(call, [])):
            if status != 255:
                self.complain(f"status {status} after a failure", words, call, at, mode, out)
            return
        if call == "write" and wanted.startswith(out):
            return  # what the destination does not take is lost
        if call in UNLABELLING and status == 0 and without_labels(out) == without_labels(wanted):
            return
        if words == ["sysboot"] and call in UNLABELLING | DROPPING and (status, out) == (0, UNKNOWN_BOOT):
            return
        if call in DROPPING and status == 0:
            if words[0] == "malclog" and out in TABLELESS:
                return
            if without_labels(without_remark(out)) in self.shortened and sheet in self.sheets:
                return
        self.complain(f"status {status}, unexpected output", words, call, at, mode, out)

    def run_shortened(self, words):
        """What the command prints and writes when the daemon withholds records."""
        self.shortened, self.sheets = set(), set()
        for withheld in ((), (0,), (1,), (0, 1)):
            self.appliance.daemon.withheld = withheld
            text = without_labels(self.run(words)[1])
            self.shortened.add(re.sub(r"\d{14}\.csv", "NAME.csv", text))
            self.sheets.add(self.appliance.take_download())
        self.appliance.daemon.withheld = ()

    def run_family(self, words):
        self.run_shortened(words)
        status, out, err, _, left = self.run(words)
        wanted = re.sub(r"\d{14}\.csv", "NAME.csv", out)
        if status != 0 or left or err:
            self.complain(f"untouched: status {status} {err!r}", words, "-", 0, "-", out)
            return 0
        self.appliance.take_download()
        failed = 0
        for call, modes in CALLS.items():
            for mode in modes:
                at = 1
                while True:
                    result = self.run(words, call, at, mode)
                    if result[3] is not None and result[3] < at:
                        break
                    self.check(words, call, at, mode, wanted, result)
                    failed += 1
                    at += 1
        return failed


def main():
    program, library, dictionary = (os.path.abspath(path) for path in sys.argv[1:4])
    appliance = Appliance(dictionary)
    runner = Runner(program, library, appliance)
    try:
        for words in COMMANDS:
            print(f"{' '.join(words)}: {runner.run_family(words)} calls failed", flush=True)
    finally:
        appliance.close()
    for failure in runner.failures:
        print(failure)
    print(f"{runner.runs} runs, {len(runner.failures)} wrong")
    return 1 if runner.failures or runner.runs == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
