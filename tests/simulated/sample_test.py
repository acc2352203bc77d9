"""The sample data, which is what a newcomer sees first."""
import json

import harness

YEAR_1999 = 915148800
LISTINGS = {  # with the members that hold a time
    "tcpreset listip": ["mintime", "maxtime"],
    "tcpreset listdns": ["mintime", "maxtime"],
    "malclog list listtype=detail limit=10000": ["time"],
    "emaillog list limit=10000": ["time"],
    "ftplog list limit=10000": ["start", "time"],
    "telnetlog list limit=10000": ["start", "time"],
}


class Sample(harness.SimulatedTest):
    DATA = "sample"

    def test_times_are_plausible(self):
        for words, members in LISTINGS.items():
            with self.subTest(words):
                document = json.loads(self.appliance.run(*words.split()).out.decode("latin-1"))
                self.assertGreater(len(document["data"]), 20)
                self.assertEqual([row for row in document["data"]
                                  if min(row[member] for member in members) < YEAR_1999], [])

    def test_sessions_of_a_capture_without_dates(self):
        self.assertTrue(self.appliance.run("tcpreset", "list").out.startswith(
            b"1645000187 2022-02-16/08:29:47 http Web browsing "))


if __name__ == "__main__":
    harness.main()
