"""Runs qsvmon against the simulated appliance as a user does, each test in a scratch folder.

The programs come from the environment: QSVMON_PROGRAM (built with the root ".") and
QSVSIM_PROGRAM. With FREEBSD_RUN the client is FreeBSD's, qsvmon-here of the build folder
FREEBSD_BUILD, started by the program that FREEBSD_RUN names. Every test file ends with
harness.main(), which reports in the Test Anything Protocol, one line a test.
"""
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

CLIENT = os.environ.get("QSVMON_PROGRAM", "qsvmon-here")
RUNNER = os.environ.get("FREEBSD_RUN")
if RUNNER:
    CLIENT = os.path.join(os.environ["FREEBSD_BUILD"], "qsvmon-here")
    DICTIONARY = os.path.join(os.environ["FREEBSD_BUILD"], "sim", "dict.so")
CLIENT_COMMAND = [RUNNER, CLIENT] if RUNNER else [CLIENT]
SIMULATOR = os.environ.get("QSVSIM_PROGRAM", "qsvsim")
DATA = os.path.join(os.path.dirname(os.path.abspath(__file__)), "data")


def segments():
    """The (segment, maker's process) pairs of the machine's shared-memory segments."""
    listed = subprocess.run(["ipcs", "-m", "-p"], capture_output=True, text=True).stdout
    rows = [line.split() for line in listed.splitlines()]
    return {(row[0], row[2]) for row in rows if len(row) == 4 and row[0].isdigit()}


class Result:
    """What one command left: its output's bytes, its exit status, its process number."""

    def __init__(self, out, status, pid):
        self.out, self.status, self.pid = out, status, pid


class Appliance:
    """A simulated appliance in a scratch folder, with the small data of tests/simulated/data."""

    clients = 0  # started so far, of all appliances

    def __init__(self, *options, data=DATA):
        self.root = tempfile.mkdtemp(prefix="qsvsim-")
        command = [SIMULATOR, "--root", self.root, "--data", data, "--background"]
        if RUNNER:
            command += ["--dict", DICTIONARY]
            os.symlink(CLIENT, os.path.join(self.root, "qsvmon"))
        started = subprocess.run(command + list(options), capture_output=True, text=True,
                                 stdin=subprocess.DEVNULL, timeout=60)
        if started.returncode != 0:
            raise RuntimeError("qsvsim: " + started.stdout + started.stderr)

    def start(self, *words, **more):
        environment = dict(os.environ, TZ="UTC")
        Appliance.clients += 1
        # A runner takes the client's own name from the link.
        command = [RUNNER, "qsvmon"] if RUNNER else [CLIENT]
        return subprocess.Popen([*command, *words], cwd=self.root, env=environment,
                                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE, **more)

    def run(self, *words, timeout=60):
        process = self.start(*words)
        try:
            out, err = process.communicate(timeout=timeout)
        except subprocess.TimeoutExpired:
            process.terminate()
            out, err = process.communicate()
        if err:
            raise AssertionError("standard error: " + err.decode(errors="replace"))
        return Result(out, process.returncode, process.pid)

    def close(self):
        subprocess.run([SIMULATOR, "--root", self.root, "--stop"], capture_output=True, timeout=60)
        shutil.rmtree(self.root)


class SimulatedTest(unittest.TestCase):
    """Each test has an appliance of its own; the class's DATA and OPTIONS go to qsvsim."""

    DATA = DATA
    OPTIONS = ()
    maxDiff = None

    def setUp(self):
        self.appliance = Appliance(*self.OPTIONS, data=self.DATA)
        self.addCleanup(self.appliance.close)

    def expect(self, words, out, status=0):
        """Runs the blank-separated `words` and compares output and exit status."""
        result = self.appliance.run(*words.split(" "))
        expected = out if isinstance(out, bytes) else out.encode()
        self.assertEqual(result.out, expected, words)
        self.assertEqual(result.status, status, words)
        return result

    def expect_no_segment(self, result):
        self.assertNotIn(str(result.pid), {maker for _, maker in segments()})


class _TapResult(unittest.TestResult):
    def startTest(self, test):
        super().startTest(test)
        self.trouble = []
        self.clients = Appliance.clients

    def addFailure(self, test, err):
        super().addFailure(test, err)
        self._trouble(test, err)

    def addError(self, test, err):
        super().addError(test, err)
        self._trouble(test, err)

    def addSubTest(self, test, subtest, err):
        super().addSubTest(test, subtest, err)
        if err is not None:
            self._trouble(subtest, err)

    def _trouble(self, test, err):
        self.trouble.append(f"{test}\n{self._exc_info_to_string(err, test)}")

    def stopTest(self, test):
        super().stopTest(test)
        if RUNNER and self.clients == Appliance.clients and not self.trouble:
            print("[  ASIDE   ]", test.id())  # says nothing of FreeBSD's program: not counted
        print(("not ok" if self.trouble else "ok"), self.testsRun, test.id(), flush=True)
        for text in self.trouble:
            print("\n".join("# " + line for line in text.splitlines()))


def main():
    suite = unittest.defaultTestLoader.loadTestsFromModule(sys.modules["__main__"])
    result = _TapResult()
    suite.run(result)
    print(f"1..{result.testsRun}")
    sys.exit(0 if result.wasSuccessful() and result.testsRun > 0 else 1)
