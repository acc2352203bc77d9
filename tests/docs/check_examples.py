#!/usr/bin/env python3
"""Runs every example of the README, of docs/ and of the manual page against the simulated appliance.

    check_examples.py QSVMON_HERE QSVSIM [PAGE...]

examples.py says what an example is. A command has to print what its page shows and to end with
status 0, unless the next line of the example is `$ echo $?`. The examples of a page share one
appliance, which is started anew for every page with the data of sim/data.

Where an example says /usr/qsvlog, /conf, /usr/ramdisk, /var/tmp or /tmp, it is run with these
folders below a scratch folder: `qsvmon` there is the client with its root in that folder. `./demo`
is the script itself, which finds the two programs built already.
"""

import os
import pathlib
import re
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest

from examples import agrees, blocks_of, commands_of, markdown_blocks

ROOT = pathlib.Path(__file__).resolve().parents[2]
PROGRAMS = r"qsvmon|qsvmon-here|qsvsim|\./demo|\./check|(?:\S*/)?build/\S*qsv\S*"
# Commands that are shown with their output and not run here.
NOT_RUN = {
    "./check": "it runs this test among all others",
    "./demo --web": "it serves until it is interrupted; the test of the page starts it",
}
MOVED = re.compile(r"(?<![\w./-])/(?=(?:usr/qsvlog|usr/ramdisk|conf|var/tmp|tmp)(?:/|\b))")
MARK = "\x01"
SECONDS = 120


def pages():
    found = [ROOT / "README.md", ROOT / "CONTRIBUTING.md"]
    for folder in ("docs", "examples", "sim", "packaging"):
        found += sorted((ROOT / folder).rglob("*.md"))
    return found + sorted((ROOT / "docs").glob("*.[1-9]"))


def runs(command):
    return not any(command == name or command.startswith(name + " ") for name in NOT_RUN)


class Scratch:
    """A folder with a simulated appliance in it, and a source tree as after a build."""

    def __init__(self):
        self.root = pathlib.Path(tempfile.mkdtemp(prefix="qsvmon-examples-"))
        self.tree = self.root / "source"
        (self.root / "tmp").mkdir()
        self._lay_out_tree()
        self._make_commands()
        self.environment = {
            "PATH": f"{self.root / 'bin'}:{os.environ['PATH']}",
            "HOME": str(self.root), "TZ": "UTC", "LC_ALL": "C.UTF-8",
        }
        subprocess.run([SIMULATOR, "--root", str(self.root), "--background"], check=True,
                       stdin=subprocess.DEVNULL)

    def _lay_out_tree(self):
        for build in ("build", "build-demo"):
            (self.tree / build / "sim").mkdir(parents=True)
            (self.tree / build / "qsvmon-here").symlink_to(CLIENT)
            (self.tree / build / "sim/qsvsim").symlink_to(SIMULATOR)
        (self.tree / "build-demo/build.ninja").touch()
        for name in ("sim", "docs", "examples"):
            if (ROOT / name).exists():
                (self.tree / name).symlink_to(ROOT / name)
        shutil.copy(ROOT / "demo", self.tree / "demo")
        (self.tree / "tools").mkdir()
        self._script(self.tree / "tools/need", "exit 0")
        (self.tree / "tools/progress").symlink_to(ROOT / "tools/progress")

    def _make_commands(self):
        (self.root / "bin").mkdir()
        self._script(self.root / "bin/cmake", "exit 0")
        self._script(self.root / "bin/qsvmon",
                     f'cd {shlex.quote(str(self.root))} && exec {shlex.quote(CLIENT)} "$@"')
        for name, program in (("qsvmon-here", CLIENT), ("qsvsim", SIMULATOR)):
            self._script(self.root / f"bin/{name}", f'exec {shlex.quote(program)} "$@"')

    @staticmethod
    def _script(path, body):
        path.write_text(f"#!/bin/sh\n{body}\n")
        path.chmod(0o755)

    def run(self, commands):
        """(output, status) of each command, all run by one shell."""
        script = "exec 2>&1\n"
        for command in commands:
            script += f"{self.moved(command.text)}\nshown=$?; printf '{MARK}%d{MARK}' $shown; (exit $shown)\n"
        shell = subprocess.Popen(["/bin/sh", "-c", script], cwd=self.tree, env=self.environment,
                                 stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                 start_new_session=True)
        try:
            out, _ = shell.communicate(timeout=SECONDS)
        except subprocess.TimeoutExpired:
            os.killpg(shell.pid, signal.SIGTERM)
            out, _ = shell.communicate()
        pieces = out.decode("utf-8", "backslashreplace").split(MARK)
        return list(zip(pieces[0::2], (int(status) for status in pieces[1::2])))

    def moved(self, text):
        """A command or file with the appliance's folders below the scratch folder."""
        return MOVED.sub(str(self.root) + "/", text)

    def shown(self, text):
        """An output with the appliance's own paths."""
        return text.replace(str(self.root), "").replace("./usr/", "/usr/").replace("./var/", "/var/")

    def close(self):
        for held in self.root.rglob("qsvsim.pid"):
            subprocess.run([SIMULATOR, "--root", str(held.parent), "--stop"],
                           capture_output=True, stdin=subprocess.DEVNULL)
        shutil.rmtree(self.root)


class Examples(unittest.TestCase):
    maxDiff = None

    def test_every_example_gives_what_its_page_shows(self):
        count = 0
        for page in PAGES:
            blocks = blocks_of(page)
            if not any(block.is_example() for block in blocks):
                continue
            scratch = Scratch()
            self.addCleanup(scratch.close)
            for block in blocks:
                if name := block.file_name():
                    text = scratch.moved("\n".join(block.lines) + "\n")
                    (scratch.tree / name).write_text(text)
                elif block.is_example():
                    count += self.check_block(page, block, scratch)
        self.assertGreater(count, 0)

    def check_block(self, page, block, scratch):
        commands = [command for command in commands_of(block) if runs(command.text)]
        results = scratch.run(commands)
        for number, command in enumerate(commands):
            where = f"{page.relative_to(ROOT)}:{command.line}"
            with self.subTest(where=where, command=command.text):
                self.assertLess(number, len(results), "not run to its end")
                printed, status = results[number]
                if not agrees(scratch.shown(command.output), scratch.shown(printed)):
                    self.assertEqual(scratch.shown(printed), command.output)
                status_shown = commands[number + 1:] and commands[number + 1].text == "echo $?"
                self.assertTrue(status == 0 or status_shown, f"status {status} is not shown")
        return len(commands)

    def test_every_command_line_is_an_example(self):
        for page in PAGES:
            for block in blocks_of(page):
                for number, line in enumerate(block.lines, block.line):
                    with self.subTest(page=str(page.relative_to(ROOT)), line=number):
                        self.assertNotRegex(line, rf"^(?:{PROGRAMS})(?: |$)", 'no "$ " before it')

    def test_commands_within_sentences_are_commands(self):
        scratch = Scratch()
        self.addCleanup(scratch.close)
        for page in PAGES:
            if page.suffix != ".md":
                continue
            for words in re.findall(r"`qsvmon ([^`<\[]+)`", page.read_text()):
                words = words.split("\\|")[0]
                if re.search(r"\b[A-Z]+\b|\.\.\.|^module subcommand", words):
                    continue  # a synopsis
                with self.subTest(page=str(page.relative_to(ROOT)), words=words):
                    run = subprocess.run([CLIENT, *shlex.split(words)], cwd=scratch.root,
                                         capture_output=True, env=scratch.environment)
                    self.assertNotIn(b"invalid commands", run.stdout)

    def test_what_is_not_run_is_shown_somewhere(self):
        shown = [command.text for page in pages() for block in blocks_of(page)
                 if block.is_example() for command in commands_of(block)]
        for name in NOT_RUN:
            with self.subTest(name=name):
                self.assertTrue(any(not runs(text) and text.startswith(name) for text in shown))


class Comparison(unittest.TestCase):
    """The comparison itself, so that a page that is wrong does not pass."""

    SAME = [
        ("", ""), ("one\n", "one\n"), ("one\n", "one"), ("one\ntwo\n", "one\ntwo\n"),
        ("a...z\n", "abcz\n"), ("a...\n", "ab\n"), ("...\nz\n", "x\ny\nz\n"), ("...\n", ""),
        ("a\n...\n", "a\n"), ("a\n\nb\n", "a\n\nb\n"), ("20....csv\n", "20240101.csv\n"),
    ]
    DIFFERENT = [
        ("", "one\n"), ("one\n", ""), ("one\n", "two\n"), ("one\n", "one\ntwo\n"),
        ("one\ntwo\n", "one\n"), ("one\n", " one\n"), ("one\n", "one \n"), ("one\n", "one\n\n"),
        ("a...z\n", "abc\n"), ("a...z\n", "a\nz\n"), ("...\nz\n", "x\ny\n"), ("a\n...\n", "b\n"),
        ("a.c\n", "abc\n"), ("a...\n", "a\n"), ("a...z\n", "az\n"), ("1\n...\n3\n", "1\n2\n4\n"), ("...b\n", "a\nb\n"),
    ]

    def test_same_outputs_agree(self):
        for shown, printed in self.SAME:
            with self.subTest(shown=shown, printed=printed):
                self.assertTrue(agrees(shown, printed))

    def test_different_outputs_do_not(self):
        for shown, printed in self.DIFFERENT:
            with self.subTest(shown=shown, printed=printed):
                self.assertFalse(agrees(shown, printed))

    def test_blocks_of_both_kinds_are_found(self):
        page = "text\n\n    $ one\n    1\n\n    2\n\ntext\n\n```console\n$ two\n> more\n2\n```\n\n    none\n"
        blocks = [block for block in markdown_blocks(page) if block.is_example()]
        found = [(c.line, c.text, c.output) for block in blocks for c in commands_of(block)]
        self.assertEqual(found, [(3, "one", "1\n\n2\n"), (11, "two\nmore", "2\n")])


if __name__ == "__main__":
    CLIENT, SIMULATOR = (str(pathlib.Path(argument).resolve()) for argument in sys.argv[1:3])
    PAGES = [pathlib.Path(page).resolve() for page in sys.argv[3:]] or pages()
    unittest.main(argv=sys.argv[:1])
