"""Many clients, long listings, and the simulated appliance's own options."""
import os
import subprocess
import unittest

import harness


class ManyClients(harness.SimulatedTest):
    def test_two_hundred_at_once(self):
        clients = [self.appliance.start("load", "add", f"name=n{n}") for n in range(200)]
        answers = sorted(int(client.communicate(timeout=120)[0][3:]) for client in clients)
        self.assertEqual(answers, list(range(1, 201)))
        self.assertEqual({client.returncode for client in clients}, {0})
        left = {maker for _, maker in harness.segments()}
        self.assertEqual(left & {str(client.pid) for client in clients}, set())


class LongListings(harness.SimulatedTest):
    OPTIONS = ("--records", "100000", "--distinct", "7", "--seed", "5")

    def test_clients_that_fetch_at_the_same_time_each_get_every_batch(self):
        clients = [self.appliance.start("tcpreset", "list") for _ in range(5)]
        for client in clients:
            out = client.communicate(timeout=120)[0]
            self.assertEqual(out.count(b"\n"), 100000)  # four batches of 32768 records
            self.assertEqual(client.returncode, 0)

    def test_the_seed_decides(self):
        words = ("tcpreset", "listip", "sort=flowcnt", "order=asc")
        first = self.appliance.run(*words).out
        self.assertEqual(first, self.appliance.run(*words).out)
        self.assertTrue(first.endswith(b'],"total":7}'))
        other = harness.Appliance("--records", "100000", "--distinct", "7", "--seed", "6")
        self.addCleanup(other.close)
        self.assertNotEqual(first, other.run(*words).out)


class OneRecordAtATime(harness.SimulatedTest):
    OPTIONS = ("--batch", "1")

    def test_a_client_that_went_away_midway_disturbs_nobody(self):
        client = self.appliance.start("tcpreset", "list")
        client.kill()  # its segment stays behind, as it would on an appliance
        client.communicate()
        for segment, maker in harness.segments():
            if maker == str(client.pid):
                subprocess.run(["ipcrm", "-m", segment], check=True)
        out = self.appliance.run("tcpreset", "list").out
        self.assertEqual(out.count(b"\n"), 4)


class Options(unittest.TestCase):
    def simulator(self, *options, **more):
        return subprocess.run([harness.SIMULATOR, *options], capture_output=True, text=True,
                              timeout=60, **more)

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

    def test_a_data_file_that_cannot_be_used_is_named(self):
        root = harness.tempfile.mkdtemp()
        self.addCleanup(harness.shutil.rmtree, root)
        data = os.path.join(root, "data")
        harness.shutil.copytree(harness.DATA, data)
        with open(os.path.join(data, "reset_sessions.csv"), "a") as file:
            file.write("1,10.0.0.300,10.0.0.1,1,2,http,http,,,,,,,,\n")
        failed = self.simulator("--root", root, "--data", data, "--background")
        self.assertEqual(failed.returncode, 1)
        self.assertEqual(failed.stderr,
                         f"qsvsim: {data}/reset_sessions.csv:6: not an address\n")

    def test_pretty_indents_json_and_leaves_the_rest(self):
        document = '{"b":[{"a":"x"},{"a":"%s"}],"a":""}' % ("y" * 132)
        pretty = self.simulator("--pretty", input=document)
        self.assertEqual(pretty.stdout, '{\n  "b": [\n    {"a":"x"},\n    {\n      "a": "%s"\n    }\n'
                                        '  ],\n  "a": ""\n}\n' % ("y" * 132))
        gb2312 = subprocess.run([harness.SIMULATOR, "--pretty"], capture_output=True,
                                input=b'["\xc4\xe3\xba\xc3\xff"]', timeout=60)
        self.assertEqual(gb2312.stdout.decode(), '["你好?"]\n')
        self.assertEqual(self.simulator("--pretty", input="not { json\n").stdout, "not { json\n")

    def test_help_names_every_fault(self):
        text = self.simulator("--help").stdout
        for fault in ("refuse close half silence late error count replylen garbage unterminated "
                      "dict").split():
            self.assertIn(f"{fault}:", text)

    def test_an_unknown_fault_is_refused(self):
        self.assertNotEqual(self.simulator("--fault", "sneeze").returncode, 0)


if __name__ == "__main__":
    harness.main()
