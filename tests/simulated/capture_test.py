"""What the simulated appliance writes down of what crosses: --capture."""
import os
import pathlib
import subprocess
import tempfile
import unittest

import harness

CODE_TABLE_GETCMP = b"\x7e\0\0\0"
CODE_LIST = b"\x07\x08\0\0"


class Capture(unittest.TestCase):
    def captured(self, *options, folder="new/captured"):
        """An appliance that captures into a folder which is not there yet."""
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.folder = pathlib.Path(scratch.name) / folder
        self.appliance = harness.Appliance("--capture", str(self.folder), *options)
        self.addCleanup(self.appliance.close)

    def files(self):
        return sorted(path.name for path in self.folder.iterdir())

    def read(self, name):
        return (self.folder / name).read_bytes()

    def test_an_exchange_is_four_files(self):
        self.captured()
        self.assertEqual(self.files(), [])
        self.appliance.run("table", "getcmp", "1")
        self.assertEqual(self.files(), ["0001.answer", "0001.area", "0001.request", "0001.words"])
        request, answer, area = self.read("0001.request"), self.read("0001.answer"), self.read("0001.area")
        self.assertEqual((len(request), len(answer), len(area)), (208, 208, 2048 * 1024))
        self.assertEqual((request[:4], answer[:4]), (CODE_TABLE_GETCMP, CODE_TABLE_GETCMP))
        # The name that was asked for is in the record; nothing was written into the area for it.
        self.assertEqual((request[36:39], self.read("0001.words")), (b"1\0\0", b""))
        self.assertEqual((request[21], answer[21]), (0, 1))
        text = b"10.20.0.53\n"
        self.assertEqual(area[:len(text) + 1], text + b"\0")
        self.assertEqual(area.strip(b"\0"), text)

    def test_words_are_those_before_the_answer(self):
        self.captured("--batch", "1")
        self.appliance.run("ftplog", "list", "page=1", "limit=9")
        self.assertEqual(len(self.files()), 8)  # two records, a batch each
        for number, last in (("0001", 0), ("0002", 1)):
            self.assertEqual(self.read(number + ".words"), b" page=1 limit=9")
            self.assertEqual(self.read(number + ".request")[:8], CODE_LIST + b"\x0f\0\0\0")
            self.assertEqual(self.read(number + ".answer")[21], last)
            self.assertEqual(self.read(number + ".area")[28:36], b"anna\0\0\0\0" if last == 0 else b"plan.xls")

    def test_numbers_go_on_from_command_to_command(self):
        self.captured()
        for _ in range(3):
            self.appliance.run("module", "list")
        self.assertEqual([name for name in self.files() if name.endswith("answer")],
                         ["0001.answer", "0002.answer", "0003.answer"])

    def test_late_and_damaged_answers_are_written_too(self):
        self.captured("--fault", "late", "--fault-ms", "10")
        self.appliance.run("module", "list")
        self.assertEqual(len(self.files()), 4)
        self.captured("--fault", "count")
        self.appliance.run("ftplog", "list", "limit=1")
        self.assertEqual(self.read("0001.answer")[164:168], b"\xff\xff\xff\x7f")

    def test_a_request_without_an_answer_is_not(self):
        self.captured("--fault", "close")
        self.appliance.run("module", "list")
        self.assertEqual(self.files(), [])

    def test_a_folder_that_cannot_be_created(self):
        with tempfile.TemporaryDirectory() as scratch:
            taken = os.path.join(scratch, "file")
            pathlib.Path(taken).touch()
            failed = subprocess.run([harness.SIMULATOR, "--root", os.path.join(scratch, "root"), "--capture",
                                     taken + "/x", "--background"], capture_output=True, text=True, timeout=60)
        self.assertEqual((failed.returncode, failed.stderr), (1, f"qsvsim: {taken}/x: Not a directory\n"))

    def test_a_relative_folder_is_below_the_working_directory(self):
        with tempfile.TemporaryDirectory() as scratch:
            root = os.path.join(scratch, "root")
            subprocess.run([harness.SIMULATOR, "--root", root, "--data", harness.DATA, "--capture", "here",
                            "--background"], cwd=scratch, check=True, timeout=60)
            try:
                subprocess.run([*harness.CLIENT_COMMAND, "module", "list"], cwd=root, check=True,
                               stdout=subprocess.DEVNULL, timeout=60)
                self.assertEqual(len(os.listdir(os.path.join(scratch, "here"))), 4)
            finally:
                subprocess.run([harness.SIMULATOR, "--root", root, "--stop"], check=True, timeout=60)


if __name__ == "__main__":
    harness.main()
