"""The data set of what a consumer must survive: the program prints it byte by byte, as it came."""
import json
import re

import harness

# Listings whose document is readable as a whole, and those that only begin readably.
READABLE = ["tcpreset listip", "malclog list listtype=dst", "malclog list listtype=table"]
BEGINNINGS = ["tcpreset listip type=src row=1-30", "tcpreset listdns row=1-30",
              "malclog list listtype=src page=1 limit=30",
              "malclog list listtype=app page=1 limit=3",
              "malclog list listtype=detail page=1 limit=30",
              "malclog list listtype=host page=1 limit=30",
              "emaillog list page=1 limit=90", "ftplog list page=1 limit=30", "telnetlog list page=1 limit=30"]
BROKEN = [re.sub(r" (row|page|limit)=\S+", "", words) for words in BEGINNINGS]


class Nasty(harness.SimulatedTest):
    DATA = "nasty"

    def document(self, words):
        result = self.appliance.run(*words.split())
        self.assertEqual(result.status, 0, words)
        self.expect_no_segment(result)
        return json.loads(result.out.decode("latin-1"))

    def texts(self, words, member):
        rows = self.document(words)["data"]
        return [row[member].encode("latin-1", "replace") for row in rows]

    def holds(self, words, *bytes_wanted):
        out = self.appliance.run(*words.split()).out
        for wanted in bytes_wanted:
            self.assertTrue(wanted in out, (words, wanted))

    def test_readable_documents(self):
        for words in READABLE + BEGINNINGS:
            with self.subTest(words):
                self.assertGreater(len(self.document(words)["data"]), 1)

    def test_unreadable_documents(self):
        for words in BROKEN:
            with self.subTest(words):
                with self.assertRaises(ValueError):
                    self.document(words)

    def test_texts_come_as_they_are(self):
        names = self.texts("tcpreset listdns row=1-30", "dns")
        for name in (b"<script>alert(1)</script>", b"=cmd|'/C calc'!A0", b"a\x9b31mred\x9b0m",
                     b"a" * 29 + b"\xe4\xbd", b"b\xc3\xbccher.example", b"\xc4\xe3\xba\xc3"):
            self.assertIn(name, names)
        self.holds("tcpreset listdns", b'"dns":"a"b",', b'"dns":"a","time":7,"b":"c",',
                   b'"dns":"a\nb",', b'"dns":"a\\",', b'"dns":"\x1b[2J\x1b]0;title\x07",',
                   b'"dns":"\\u003cb\\u003e",')
        self.holds("ftplog list", b'"name":"\xff\xfe\xc0\xaf"}', b'"user":"a"b",',
                   b'"name":"' + b"n" * 62 + b'\xe4\xbd"}')
        self.holds("telnetlog list", b'"cmd":"' + b"\\" * 258 + b'"}', b'"user":"a"b",')

    def test_long_names(self):
        hosts = self.texts("malclog list listtype=detail page=1 limit=80", "host")
        self.assertEqual([len(host) for host in hosts if b"-bytes-" in host], [42, 43, 44, 45])
        out = self.appliance.run("malclog", "list", "listtype=host").out
        self.assertEqual(sorted(map(len, re.findall(rb'"host":"(\d\d-bytes-x*)"', out))), [42, 42, 42])

    def test_all_signatures(self):
        table = self.document("malclog list listtype=table")
        self.assertEqual(len(table["data"]), 64)
        first = self.document("malclog list listtype=detail page=1 limit=1")["data"][0]
        self.assertEqual(first["bitmap"], 18446744073709551615)
        self.assertEqual(len(first["list"]), 64)

    def test_zeros(self):
        event = self.document("malclog list listtype=detail page=2 limit=1")["data"][0]
        self.assertEqual([event[member] for member in (
            "src_ip", "src_port", "dst_ip", "dst_port", "apid", "mac", "time", "proto", "bitmap",
            "host", "sign")],
            ["0.0.0.0", 0, "0.0.0.0", 0, 0, "00-00-00-00-00-00", 1, 0, 1, "", "0"])
        self.holds("ftplog list", b'{"src_ip":"0.0.0.0","src_port":0,"dst_ip":"0.0.0.0","dst_port":0,'
                   b'"mac":"00-00-00-00-00-00","start":0,"req_time":"1970-01-01/00:00:00","time":0,'
                   b'"srcip_desc":"","dstip_desc":"","ipmac_desc":"","user":"","optype":"UNKN",'
                   b'"name":""}]')
        self.holds("emaillog list limit=200", b'{"src_ip":"0.0.0.0","src_port":0,"dst_ip":"0.0.0.0",'
                   b'"dst_port":0,"apid":0,"appname":"Unknown","mac":"00-00-00-00-00-00",'
                   b'"req_time":"1970-01-01/00:00:00","time":0,"srcip_desc":"","dstip_desc":"",'
                   b'"ipmac_desc":"","from":"","to":"","cc":"","subject":"","tolen":0,"file":""}]')

    def test_mail_elements(self):
        mails = self.document("emaillog list page=1 limit=96")["data"]
        self.assertIn(("", "", 0, ""), [(m["from"], m["subject"], m["tolen"], m["file"]) for m in mails])
        self.assertIn(("second", "second"), [(m["from"], m["subject"]) for m in mails])
        self.assertIn("1.txt,,2.txt,3.txt,4.txt", [m["file"] for m in mails])


if __name__ == "__main__":
    harness.main()
