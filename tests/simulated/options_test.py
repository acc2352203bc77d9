"""The simulated appliance's own options, data files and messages."""
import os
import re
import subprocess
import tempfile
import unittest

import harness

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../..")
MANUAL = ROOT + "/docs/qsvsim.1"
COMPLETIONS = ROOT + "/completions/qsvsim."


class Simulator(unittest.TestCase):
    maxDiff = None

    def scratch(self):
        folder = tempfile.mkdtemp(prefix="qsvsim-")
        self.addCleanup(harness.shutil.rmtree, folder)
        return folder

    def simulator(self, *options, **more):
        return subprocess.run([harness.SIMULATOR, *options], capture_output=True, text=True,
                              timeout=60, **more)

    def expect(self, options, status, message):
        failed = self.simulator(*options, stdin=subprocess.DEVNULL)
        self.assertEqual((failed.stdout, failed.stderr), ("", f"qsvsim: {message}\n"))
        self.assertEqual(failed.returncode, status)


class Serving(Simulator):
    def test_one_root_is_served_once(self):
        appliance = harness.Appliance()
        self.addCleanup(appliance.close)
        second = self.simulator("--root", appliance.root, "--background")
        self.assertEqual(second.returncode, 1)
        self.assertEqual(second.stderr, f"qsvsim: another qsvsim serves {appliance.root}\n")

    def test_stop_ends_it_and_leaves_no_socket(self):
        appliance = harness.Appliance()
        self.addCleanup(appliance.close)
        self.assertEqual(self.simulator("--root", appliance.root, "--stop").returncode, 0)
        self.assertFalse(os.path.exists(os.path.join(appliance.root, "var/tmp/qsvlog.d")))
        self.assertFalse(os.path.exists(os.path.join(appliance.root, "usr/ramdisk/var/mgmt.d")))
        again = self.simulator("--root", appliance.root, "--stop")
        self.assertEqual(again.returncode, 1)
        self.assertEqual(again.stderr, f"qsvsim: nothing serves {appliance.root}\n")
        result = appliance.run("module", "list")
        self.assertEqual(result.out, b"can't connect to ./var/tmp/qsvlog.d")
        self.assertEqual(result.status, 255)

    def test_edited_configuration_files_stay(self):
        appliance = harness.Appliance()
        self.addCleanup(appliance.close)
        conf = os.path.join(appliance.root, "conf/qsv_assets.conf")
        with open(conf, "a") as file:
            file.write("assets id=9 pid=1 name=added value=10.0.0.9\n")
        self.simulator("--root", appliance.root, "--stop")
        started = self.simulator("--root", appliance.root, "--data", harness.DATA, "--background")
        self.assertEqual(started.returncode, 0)
        self.assertTrue(appliance.run("assetsobj2", "list").out.endswith(b"1 9 9 added\n"))

    def test_stop_creates_no_root(self):
        root = os.path.join(self.scratch(), "missing")
        self.expect(["--stop", "--root", root], 1, f"nothing serves {root}")
        self.assertFalse(os.path.exists(root))

    def test_a_root_that_cannot_be_created(self):
        file = os.path.join(self.scratch(), "file")
        with open(file, "w"):
            pass
        self.expect(["--root", f"{file}/root"], 1, f"{file}/root: Not a directory")

    def test_a_missing_data_folder_is_named(self):
        root = os.path.join(self.scratch(), "missing")
        self.expect(["--root", root, "--data", "nosuch"], 1, "no such data set or folder: nosuch")
        self.assertFalse(os.path.exists(root))

    def test_a_missing_dictionary_library_is_named(self):
        root = self.scratch()
        self.expect(["--root", root, "--dict", "/nosuch.so"], 1,
                    "no such dictionary library: /nosuch.so")

    def test_a_set_of_the_program_goes_by_its_name_a_folder_by_its_path(self):
        for name, first in (("sample", b'"ip":"67.55.121.97"'), ("nasty", b'"ip":"255.255.255.255"')):
            appliance = harness.Appliance(data=name)
            self.addCleanup(appliance.close)
            self.assertIn(first, appliance.run("tcpreset", "listip", "row=1-1").out)
        self.expect(["--data", "./nasty"], 1, "no such data set or folder: ./nasty")


class CommandLine(Simulator):
    def refused(self, options, message):
        self.expect(options, 2, message + '\nTry "qsvsim --help".')

    def test_numbers_are_digits_within_their_limit(self):
        for option, largest in (("--records", 2**32 - 1), ("--distinct", 2**32 - 1),
                                ("--batch", 2**32 - 1), ("--fault-after", 2**32 - 1),
                                ("--fault-ms", 2**32 - 1), ("--seed", 2**64 - 1)):
            for value in ("-5", "-1", "+1", "abc", "1.5", "0x10", " 1", str(largest + 1), "9" * 21):
                with self.subTest(option=option, value=value):
                    self.refused([f"{option}={value}"],
                                 f"{option}: not a number from 0 to {largest}: {value}")
            self.refused([option, "-5"], f"{option}: not a number from 0 to {largest}: -5")
            with self.subTest(option=option, largest=True):
                root = os.path.join(self.scratch(), "missing")
                self.expect([option, str(largest), "--stop", "--root", root], 1,
                            f"nothing serves {root}")

    def test_an_unknown_fault_is_refused_in_plain_words(self):
        self.refused(["--fault", "sneeze"],
                     "--fault: no such fault: sneeze; there are refuse, close, half, silence, late, "
                     "error, count, replylen, garbage, unterminated, dict")

    def test_an_unknown_option_is_refused(self):
        self.refused(["--bogus"], "The following argument was not expected: --bogus")
        self.refused(["--root"], "--root: 1 required DIR missing")

    def test_help_fits_a_terminal_and_names_every_option_and_fault(self):
        shown = self.simulator("--help")
        self.assertEqual((shown.returncode, shown.stderr), (0, ""))
        self.assertEqual(self.simulator("-h").stdout, shown.stdout)
        self.assertTrue(shown.stdout.startswith("Usage: qsvsim [--root DIR]"))
        self.assertLessEqual(max(map(len, shown.stdout.splitlines())), 100)
        for option in ("root data dict background stop pretty version help records distinct seed "
                       "batch capture fault fault-after fault-ms").split():
            self.assertRegex(shown.stdout, rf"(?m)^  (-h, )?--{option}( [A-Z]+)?   *\S")
        for fault in ("refuse close half silence late error count replylen garbage unterminated "
                      "dict").split():
            self.assertRegex(shown.stdout, rf"(?m)^      {fault}  *\S")

    def test_the_manual_page_has_every_option_and_fault_of_the_help(self):
        help_text = self.simulator("--help").stdout
        with open(MANUAL) as file:
            manual = file.read()
        options = set(re.findall(r"--([a-z-]+)", help_text))
        self.assertEqual(options, set(re.findall(r"(?m)^\.It .*Fl \\-([a-z-]+)", manual)))
        faults = re.findall(r"(?m)^      ([a-z]+) ", help_text)
        self.assertEqual(len(faults), 11)
        self.assertEqual(faults, re.findall(r"(?m)^\.It Cm ([a-z]+)$", manual))

    def test_the_completion_files_have_every_option_and_fault_of_the_help(self):
        help_text = self.simulator("--help").stdout
        options = set(re.findall(r"--([a-z-]+)", help_text))
        faults = " ".join(re.findall(r"(?m)^      ([a-z]+) ", help_text))
        for shell in ("bash", "fish", "tcsh", "zsh"):
            with self.subTest(shell), open(COMPLETIONS + shell) as file:
                text = file.read()
                listed = re.search(r"c/--/\((.*)\)", text)  # tcsh adds the dashes itself
                offered = listed[1].split() if listed else re.findall(r"(?:--| -l )([a-z-]+)", text)
                self.assertEqual(set(offered), options)
                self.assertIn(faults, text)

    def test_version(self):
        shown = self.simulator("--version")
        self.assertRegex(shown.stdout, r"^qsvsim \d+\.\d+\.\d+\n$")
        self.assertEqual(shown.returncode, 0)


class DataFiles(Simulator):
    def edited(self, name, edit):
        """A copy of the tests' data in which `edit` has changed the bytes of one file."""
        data = os.path.join(self.scratch(), "data")
        harness.shutil.copytree(harness.DATA, data)
        path = os.path.join(data, name)
        with open(path, "rb") as file:
            before = file.read()
        with open(path, "wb") as file:
            file.write(edit(before))
        return data

    def serves_as_ever(self, data):
        appliance = harness.Appliance(data=data)
        self.addCleanup(appliance.close)
        plain = harness.Appliance()
        self.addCleanup(plain.close)
        for words in ("tcpreset list", "emaillog list", "telnetlog list"):
            self.assertEqual(appliance.run(*words.split()).out, plain.run(*words.split()).out)

    def test_a_byte_order_mark_is_skipped(self):
        for name in ("reset_sessions.csv", "telnet.csv", "mail.jsonl"):
            with self.subTest(name):
                self.serves_as_ever(self.edited(name, lambda old: b"\xef\xbb\xbf" + old))

    def test_line_ends_of_either_kind(self):
        self.serves_as_ever(self.edited("telnet.csv", lambda old: old.replace(b"\n", b"\r\n")))

    def test_quotes_in_a_comment_mean_nothing(self):
        self.serves_as_ever(self.edited("telnet.csv", lambda old: b'# it said "no\n' + old + b"# end"))

    def test_what_cannot_be_used_is_named_with_its_line(self):
        reset = "1,10.0.0.1,10.0.0.2,1,2,%s,http,,%s,,,,,,x\n"
        event = "1,10.0.0.1,10.0.0.2,1,2,6,%s,00-16-3e-00-00-01,%s,1,x\n"
        for name, line, message in [
            ("reset_sessions.csv", "1,10.0.0.300,10.0.0.1,1,2,http,http,,,,,,,,\n",
             ":6: not an address"),
            ("reset_sessions.csv", reset % ("nosuch", ""), ":6: unknown application: nosuch"),
            ("reset_sessions.csv", reset % ("9" * 30, ""),
             ":6: not an application's number: " + "9" * 30),
            ("reset_sessions.csv", reset % ("16384", ""),
             ":6: not an application's number here: 16384"),
            ("reset_sessions.csv", reset % ("1", "x1"), ":6: not within 0 and 10485.75: x1"),
            ("reset_sessions.csv", reset % ("1", "nan"), ":6: not within 0 and 10485.75: nan"),
            ("reset_sessions.csv", reset % ("1", "-1"), ":6: not within 0 and 10485.75: -1"),
            ("reset_sessions.csv", "1,2\n", ":6: 2 cells, expected 15"),
            ("reset_sessions.csv", '1,"2\n3\n', ":6: a quote that is not closed"),
            ("malicious_events.csv", event % ("65536", "1"),
             ":5: not an application's number: 65536"),
            ("malicious_events.csv", event % ("1", "64"), ":5: no slot 64"),
            ("malicious_events.csv", event % ("1", "x"), ":5: no slot x"),
            ("malicious_events.csv", event % ("1", "-1"), ":5: no slot -1"),
            ("mail.jsonl", '{"time":1}\n', ":3: key 'src' not found"),
        ]:
            with self.subTest(name=name, line=line):
                data = self.edited(name, lambda old, line=line: old + line.encode())
                self.expect(["--root", self.scratch(), "--data", data], 1, f"{data}/{name}{message}")

    def test_a_missing_file_or_column_is_named(self):
        data = self.edited("telnet.csv", lambda old: old.replace(b"start,", b"begin,"))
        self.expect(["--root", self.scratch(), "--data", data], 1, f"{data}/telnet.csv: no column start")
        os.unlink(os.path.join(data, "ftp.csv"))
        self.expect(["--root", self.scratch(), "--data", data], 1, f"cannot open {data}/ftp.csv")


class Pretty(Simulator):
    def test_json_is_indented(self):
        document = '{"b":[{"a":"x"},{"a":"%s"}],"a":""}' % ("y" * 132)
        pretty = self.simulator("--pretty", input=document)
        self.assertEqual(pretty.stdout, '{\n  "b": [\n    {"a":"x"},\n    {\n      "a": "%s"\n    }\n'
                                        '  ],\n  "a": ""\n}\n' % ("y" * 132))
        gb2312 = subprocess.run([harness.SIMULATOR, "--pretty"], capture_output=True,
                                input=b'["\xc4\xe3\xba\xc3\xff"]', timeout=60)
        self.assertEqual(gb2312.stdout.decode(), '["你好?"]\n')

    def test_a_document_that_breaks_is_shown_as_it_is_and_refused(self):
        for document, where in [
            ("not { json\n", "broken at byte 2"),
            ('{"host":"a"b"}', "broken at byte 12"),
            ('["a\tb"]', "broken at byte 4"),
            ('["x",', "broken at byte 6"),
            ('{"data":[DAEMON_BUSY\n', "broken at byte 10"),
            ("", "nothing was read"),
        ]:
            with self.subTest(document):
                shown = self.simulator("--pretty", input=document)
                self.assertEqual(shown.stdout, document)
                self.assertEqual(shown.stderr, f"qsvsim: no JSON document: {where}\n")
                self.assertEqual(shown.returncode, 1)



if __name__ == "__main__":
    harness.main()
