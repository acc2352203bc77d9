#!/usr/bin/env python3
"""Types at bash, tcsh, fish and zsh in a terminal, as a user would, and looks at what completion makes of it.

    check_completion.py           tests
    check_completion.py --show    also prints what the terminals showed
"""

import os
import pathlib
import pty
import re
import select
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

COMPLETIONS = pathlib.Path(__file__).resolve().parents[2] / "completions"
SHOW = "--show" in sys.argv

TAB, LIST, KILL_LINE = "\t", "\x04", "\x15"


class Terminal:
    """A shell on a terminal of its own."""

    def __init__(self, *command):
        self.said = ""
        self.pid, self.fd = pty.fork()
        if self.pid == 0:
            # 132 columns: no line of the tests wraps.
            os.environ.update(TERM="vt100", COLUMNS="132", LINES="50", PS1="$ ", LC_ALL="C")
            os.execvp(command[0], command)

    def wait_for(self, *texts):
        """Reads until all the texts were shown since the last call; True if they came in time."""
        shown = ""
        end = time.monotonic() + 20
        while not all(re.search(text, shown) for text in texts):
            ready, _, _ = select.select([self.fd], [], [], 0.1)
            if ready:
                data = os.read(self.fd, 65536).decode("utf-8", "replace")
                plain = re.sub(r"\x1b(\[[0-9;?]*[A-Za-z]|[=>])|[\r\a\x00\x0f]", "", data)
                self.said += plain
                shown += plain
            elif time.monotonic() > end:
                return False
        return True

    def type(self, keys):
        os.write(self.fd, keys.encode())

    def close(self):
        os.kill(self.pid, signal.SIGKILL)
        os.waitpid(self.pid, 0)
        os.close(self.fd)


class Completion(unittest.TestCase):
    def expect(self, terminal, keys, *texts):
        terminal.type(keys)
        self.assertTrue(terminal.wait_for(*texts), f"after {keys!r}: {terminal.said!r}")

    def finish(self, name, terminal):
        terminal.close()
        if SHOW:
            print(f"--- {name}\n{terminal.said}\n---")

    def test_bash(self):
        terminal = Terminal("bash", "--norc", "--noprofile", "-i")
        try:
            self.expect(terminal, f". {COMPLETIONS}/qsvmon.bash; echo re''ady\n", r"ready\n\$ $")
            self.expect(terminal, "qsvmon " + TAB + TAB, r"assetsobj2 +", r"emaillog +", r"worker *\n")
            self.expect(terminal, "mal" + TAB, r"malclog ")
            self.expect(terminal, "l" + TAB, r"list ")
            self.expect(terminal, "listt" + TAB, r"listtype=")
            self.expect(terminal, TAB + TAB, r"app +detail +dst +host +src +table")
            self.expect(terminal, "ho" + TAB, r"host ")
            self.expect(terminal, "pa" + TAB, r"page=")
            self.expect(terminal, "2 so" + KILL_LINE + "qsvmon unheard c" + TAB, r"unheard config ")
            self.expect(terminal, f"{KILL_LINE}. {COMPLETIONS}/qsvsim.bash; echo re''ady\n", r"ready\n\$ $")
            self.expect(terminal, "qsvsim --ca" + TAB, r"capture ")
            self.expect(terminal, "/us" + TAB, r"/usr/")
            self.expect(terminal, " --fault la" + TAB, r"late ")
            self.expect(terminal, "--fault-" + TAB + TAB, r"--fault-after +--fault-ms")
            self.expect(terminal, "ms 5 --data na" + TAB, r"nasty")
        finally:
            self.finish("bash", terminal)

    def test_tcsh(self):
        terminal = Terminal("tcsh", "-f")
        try:
            self.expect(terminal, f"source {COMPLETIONS}/qsvmon.tcsh; echo re''ady\n", r"ready\n[#>] $")
            self.expect(terminal, "qsvmon " + LIST, r"assetsobj2 +", r"emaillog +", r"worker *\n")
            self.expect(terminal, "mal" + TAB, r"malclog ")
            self.expect(terminal, "l" + TAB, r"list ")
            self.expect(terminal, "listt" + TAB, r"listtype=")
            self.expect(terminal, LIST, r"listtype=app +listtype=detail", r"listtype=table *\n")
            self.expect(terminal, "ho" + TAB, r"host ")
            self.expect(terminal, "pa" + TAB, r"page=")
            self.expect(terminal, "2 so" + KILL_LINE + "qsvmon unheard c" + TAB, r"config ")
            self.expect(terminal, f"{KILL_LINE}source {COMPLETIONS}/qsvsim.tcsh; echo re''ady\n", r"ready\n[#>] $")
            self.expect(terminal, "qsvsim --ca" + TAB, r"capture ")
            self.expect(terminal, "/us" + TAB, r"/usr/")
            self.expect(terminal, " --fault la" + TAB, r"late ")
            self.expect(terminal, "--fault-" + LIST, r"fault-after +fault-ms")
            self.expect(terminal, "ms 5 --data na" + TAB, r"nasty")
        finally:
            self.finish("tcsh", terminal)

    def test_zsh(self):
        with tempfile.TemporaryDirectory() as scratch:
            for command in ("qsvmon", "qsvsim"):
                shutil.copy(COMPLETIONS / f"{command}.zsh", f"{scratch}/_{command}")
            terminal = Terminal("zsh", "-f", "-o", "nopromptsp", "-i")
            try:
                self.expect(terminal, "", r"\$ $")
                self.expect(terminal, f"fpath+=({scratch}); autoload -U compinit; "
                            f"compinit -u -d {scratch}/dump; setopt noautomenu; echo re''ady\n",
                            r"ready\n\$ $")
                self.expect(terminal, "qsvmon " + LIST, r"assetsobj2 +", r"emaillog +", r"worker")
                self.expect(terminal, "mal" + TAB, r"malclog ")
                self.expect(terminal, "l" + TAB, r"list ")
                self.expect(terminal, "listt" + TAB, r"listtype=")
                self.expect(terminal, LIST, r"app +detail +dst +host +src +table")
                self.expect(terminal, "ho" + TAB, r"host ")
                self.expect(terminal, "pa" + TAB, r"page=")
                self.expect(terminal, "2 so" + KILL_LINE + "qsvmon unheard c" + TAB, r"onfig ")
                self.expect(terminal, KILL_LINE + "qsvsim --ca" + TAB, r"capture ")
                self.expect(terminal, "/us" + TAB, r"/usr/")
                self.expect(terminal, " --fault la" + TAB, r"late ")
                self.expect(terminal, "--fault-" + LIST, r"--fault-after", r"--fault-ms")
                self.expect(terminal, "ms 5 --data na" + TAB, r"nasty")
            finally:
                self.finish("zsh", terminal)

    def fish_offers(self, line):
        """What fish's completion offers at the end of the line, in its order."""
        files = f"source {COMPLETIONS}/qsvmon.fish; source {COMPLETIONS}/qsvsim.fish"
        script = f"{files}; complete --do-complete={shlex.quote(line)}"
        with tempfile.TemporaryDirectory() as home:
            run = subprocess.run(["fish", "--no-config", "-c", script], capture_output=True, text=True,
                                 env=dict(os.environ, HOME=home, XDG_CONFIG_HOME=home), timeout=60)
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        return [offer.split("\t")[0] for offer in run.stdout.splitlines()]  # without what it says of them

    def test_fish(self):
        modules = self.fish_offers("qsvmon ")
        self.assertEqual(len(modules), 18)
        self.assertTrue({"assetsobj2", "emaillog", "worker"} <= set(modules))
        self.assertEqual(self.fish_offers("/usr/local/bin/qsvmon mal"), ["malclog"])
        self.assertEqual(self.fish_offers("true; qsvmon malclog "), ["list"])
        self.assertEqual(self.fish_offers("qsvmon-here malclog list listt"), ["listtype="])
        self.assertEqual(self.fish_offers("qsvmon malclog list listtype="),
                         [f"listtype={kind}" for kind in "app detail dst host src table".split()])
        self.assertEqual(self.fish_offers("qsvmon malclog list limit=3 listtype=ho"), ["listtype=host"])
        self.assertEqual(self.fish_offers("qsvmon unheard c"), ["config"])
        self.assertEqual(self.fish_offers("qsvmon disk c"), [])
        self.assertEqual(self.fish_offers("qsvsim --fault la"), ["late"])
        self.assertEqual(self.fish_offers("qsvsim --seed "), [])
        self.assertEqual(self.fish_offers("qsvsim --data na"), ["nasty"])
        self.assertEqual(self.fish_offers("qsvsim --fault-"), ["--fault-after", "--fault-ms"])
        self.assertIn("/usr/", self.fish_offers("qsvsim --root /us"))


if __name__ == "__main__":
    for shell in ("bash", "tcsh", "fish", "zsh"):
        if not shutil.which(shell):
            sys.exit(f"check_completion: no {shell}")
    unittest.main(argv=sys.argv[:1])
