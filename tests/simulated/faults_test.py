"""What the client says when the daemon misbehaves, and that it leaves no segment behind."""
import signal
import time

import harness

MGMT = b"can't connect to ./usr/ramdisk/var/mgmt.d"


class Faults(harness.SimulatedTest):
    def setUp(self):
        pass  # every test starts its own

    def run_against(self, fault, words, *options):
        self.appliance = harness.Appliance("--fault", fault, *options)
        self.addCleanup(self.appliance.close)
        result = self.appliance.run(*words.split())
        self.expect_no_segment(result)
        return result

    def test_refuse(self):
        result = self.run_against("refuse", "tcpreset listip")
        self.assertEqual((result.out, result.status), (MGMT, 255))

    def test_close_and_half_a_reply(self):
        for fault in ("close", "half"):
            result = self.run_against(fault, "tcpreset listip")
            self.assertRegex(result.out, rb"^r_[^\n]*_\d+\n$")
            self.assertEqual(result.status, 255)

    def test_error(self):
        result = self.run_against("error", "tcpreset listip")
        self.assertEqual((result.out, result.status), (b"DAEMON_BUSY\n", 255))

    def test_a_later_batch_can_fail(self):
        result = self.run_against("error", "tcpreset list", "--batch", "3", "--fault-after", "1")
        self.assertEqual(result.out.count(b"\n"), 4)  # three records, then the error
        self.assertTrue(result.out.endswith(b"\nDAEMON_BUSY\n"))
        self.assertEqual(result.status, 255)

    def test_late(self):
        began = time.monotonic()
        result = self.run_against("late", "disk stat", "--fault-ms", "1500")
        self.assertEqual(result.status, 0)
        self.assertTrue(result.out.startswith(b"mount=/ "))
        self.assertGreater(time.monotonic() - began, 1.5)

    def test_silence_is_waited_out_until_the_user_gives_up(self):
        self.appliance = harness.Appliance("--fault", "silence")
        self.addCleanup(self.appliance.close)
        for number in (signal.SIGINT, signal.SIGTERM):
            client = self.appliance.start("tcpreset", "listip")
            time.sleep(0.5)
            self.assertIn(str(client.pid), {maker for _, maker in harness.segments()})
            client.send_signal(number)
            self.assertEqual(client.communicate(timeout=30)[0], b"")
            self.assertEqual(client.returncode, 1)
            self.assertNotIn(str(client.pid), {maker for _, maker in harness.segments()})

    def test_a_count_beyond_the_area(self):
        result = self.run_against("count", "tcpreset listip row=1-2")
        self.assertTrue(result.out.startswith(
            b'{"data":[{"ip":"93.184.216.34","flowcnt":2,"http":1,"https":"1",'))
        # Two destinations, and the zeros behind them.
        self.assertTrue(result.out.endswith(b'],"total":3}'))
        self.assertEqual(result.status, 0)

    def test_a_length_beyond_the_area(self):
        result = self.run_against("replylen", "worker list")
        self.assertEqual(result.out, b"taskid=1 taskname=rotate type=service\n"
                                     b"taskid=2 taskname=index type=service\n")

    def test_a_text_without_an_end(self):
        result = self.run_against("unterminated", "qsvlog stat")
        self.assertEqual((result.out, result.status), (b"A" * 65536, 0))

    def test_tables_that_are_not_there(self):
        result = self.run_against("dict", "tcpreset listip")
        self.assertTrue(result.out.startswith(b'{"data":['))
        self.assertEqual(result.status, 0)

    def test_garbage(self):
        listings = ["tcpreset listip", "tcpreset listdns", "tcpreset list", "emaillog list",
                    "ftplog list", "telnetlog list", "qsviptable get 1", "assetsobj2 list"]
        listings += ["malclog list listtype=" + kind
                     for kind in ("dst", "src", "app", "table", "detail", "host")]
        self.run_against("garbage", "module list", "--seed", "3")
        for words in listings:
            with self.subTest(words):
                result = self.appliance.run(*words.split())
                self.assertEqual(result.status, 0)
                self.expect_no_segment(result)


if __name__ == "__main__":
    harness.main()
