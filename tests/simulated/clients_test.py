"""Many clients and long listings."""
import subprocess

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


if __name__ == "__main__":
    harness.main()
