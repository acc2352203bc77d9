"""What the simulated appliance put into the area, parsed as docs/wire says, against what qsvmon printed."""
import collections
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

from parsers import TOP, harness, kind, parse

Exchange = collections.namedtuple("Exchange", "request words answer area")


def dotted(number):
    return ".".join(str(number >> shift & 255) for shift in (24, 16, 8, 0))


def clock(seconds):
    return time.strftime("%Y-%m-%d/%H:%M:%S", time.gmtime(seconds))


def latin1(data):
    return data.decode("latin-1")


def mac_text(mac):
    return "-".join(f"{byte:02x}" for byte in mac)


def rows_of(rows):
    """Rows as a multiset, since those with equal keys come in no order that counts."""
    return collections.Counter(json.dumps(row, sort_keys=True) for row in rows)


# A mail of every element, one of them to be passed over, and a short one.
MAILS = [
    {"time": 1700000000, "key": 7, "src": "10.20.1.5", "dst": "10.20.0.25", "sport": 40000, "dport": 25, "app": "smtp",
     "mac": "00-16-3e-00-00-05", "from": "a@korvale.example", "to": "b@korvale.example", "cc": "c@korvale.example",
     "subject": "Plan", "files": ["1.txt", "2.txt", "3.txt", "4.txt", "5.txt"], "extra": [[77, "passed over"]]},
    {"time": 1700000100, "key": 9, "src": "203.0.113.9", "dst": "10.20.0.25", "sport": 1, "dport": 65535, "app": "12345",
     "mac": "ff-ff-ff-ff-ff-ff", "from": "d@korvale.example", "to": "e", "subject": "x"},
]


class Fields(unittest.TestCase):
    maxDiff = None
    OPTIONS = ()

    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="qsvmon-wire-"))
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        data = cls.folder / "data"
        shutil.copytree(cls.data(), data)
        cls.prepare(data)
        cls.captured = cls.folder / "captured"
        cls.appliance = harness.Appliance("--capture", str(cls.captured), *cls.OPTIONS, data=str(data))
        cls.addClassCleanup(cls.appliance.close)

    @staticmethod
    def data():
        return harness.DATA

    @staticmethod
    def prepare(data):
        (data / "mail.jsonl").write_text("".join(json.dumps(mail) + "\n" for mail in MAILS))

    def run_command(self, words, status=0):
        """(what qsvmon printed, the exchanges that it took)."""
        before = len(list(self.captured.glob("*.answer"))) if self.captured.exists() else 0
        result = self.appliance.run(*words.split(" "))
        self.assertEqual(result.status, status, words)
        exchanges = []
        for number in range(before + 1, len(list(self.captured.glob("*.answer"))) + 1):
            parts = {part: (self.captured / f"{number:04}.{part}").read_bytes() for part in Exchange._fields}
            for part in ("request", "answer"):
                self.assertEqual(len(parts[part]), 208)
                parts[part] = parse(kind("request"), parts[part])
            exchanges.append(Exchange(**parts))
        self.assertGreater(len(exchanges), 0)
        return result.out, exchanges

    def dictionary(self, exchange):
        """The tables ahead of a reply, and the bytes behind them."""
        if exchange.answer.syncdesc == 0:
            return None, exchange.area
        header = (TOP / "sim/dict_tables.h").read_text()
        apps, groups = (int(re.search(rf"{name} = (\d+);", header).group(1)) for name in ("kUserApps", "kUserGroups"))
        return parse(kind("dictionary"), exchange.area, apps, groups), exchange.area[56 * (apps + groups):]

    def names(self, exchanges):
        """Name and display name of every application, of the library's own and of those sent."""
        header = (TOP / "sim/dict_tables.h").read_text()
        names = {int(n): (name, shown) for n, name, shown in re.findall(r'\{(\d+), "([^"]*)", "([^"]*)"\}', header)}
        for exchange in exchanges:
            tables, _ = self.dictionary(exchange)
            for entry in tables.apps if tables else []:
                if entry.name:
                    names[entry.id] = (latin1(entry.name), latin1(entry.display_name))
        return names

    def records(self, name, exchanges):
        found = []
        for exchange in exchanges:
            _, area = self.dictionary(exchange)
            found += parse(kind(name), area, exchange.answer.result).records
        return found

    def document(self, words):
        out, exchanges = self.run_command(words)
        return json.loads(out.decode("latin-1"))["data"], exchanges

    def test_reset_sessions(self):
        out, exchanges = self.run_command("tcpreset list")
        names = self.names(exchanges)

        def metric(value):
            return f"{value // 100}.{value % 100:02}" if value else "0"

        lines = []
        for r in self.records("tcpreset", exchanges):
            status = f"|{r.appword.http_status}" if r.appword.http_status else ""
            name, shown = names[r.appword.app]
            lines.append(" ".join(map(str, [
                r.time_secs, clock(r.time_secs), name, shown, r.src_net, r.sport_net, r.dst_net, r.dport_net,
                metric(r.metrics.from_bit_20), metric(r.metrics.from_bit_40), metric(r.metrics.from_bit_0),
                r.val1, r.val2, r.val3, (latin1(r.name) or "NULL") + status])) + "\n")
            self.assertEqual((r.metrics.unused, r.appword.unused), (0, 0))
        self.assertGreater(len(lines), 3)
        self.assertEqual("".join(lines), latin1(out))

    def test_classes_of_reset_sessions(self):
        rows, exchanges = self.document("tcpreset listip")
        counted = collections.defaultdict(collections.Counter)
        for r in self.records("tcpreset", exchanges):
            counted[dotted(r.dst_net)].update([r.appword.traffic_class, "all"])
        http, https = kind("tcpreset").TrafficClass.http, kind("tcpreset").TrafficClass.https
        self.assertEqual({ip: (c["all"], c[http], str(c[https])) for ip, c in counted.items()},
                         {row["ip"]: (row["flowcnt"], row["http"], row["https"]) for row in rows})

    def events(self, exchanges):
        signatures, events = None, []
        for number, exchange in enumerate(exchanges):
            _, area = self.dictionary(exchange)
            batch = parse(kind("malclog"), area, number == 0, exchange.answer.result)
            signatures = signatures or batch.signatures
            events += batch.events
        return signatures, events

    def test_malicious_events(self):
        rows, exchanges = self.document("malclog list listtype=detail limit=100000")
        names = self.names(exchanges)
        signatures, events = self.events(exchanges)
        own, category = kind("malclog").Mkmode.own_name, kind("malclog").Mkmode.category
        expected = []
        for e in events:
            entries, categories = [], []
            for slot, s in enumerate(signatures):
                if not e.bitmap >> slot & 1:
                    continue
                if s.mkmode == own:
                    entries.append([s.tid, s.type.value, latin1(s.name), 1])
                elif s.mkmode == category and s.itlgc not in categories:
                    categories.append(s.itlgc)
                    entries.append([s.itlgc, 0, 2])
            name, shown = names[e.apid]
            self.assertEqual(e.host_len, len(e.host))
            expected.append({
                "list": entries, "src_ip": dotted(e.src_net), "src_port": e.sport_net, "dst_ip": dotted(e.dst_net),
                "dst_port": e.dport_net, "apid": e.apid, "appname": name, "appcname": shown, "mac": mac_text(e.mac),
                "req_time": clock(e.time_secs), "time": e.time_secs, "proto": e.proto, "bitmap": e.bitmap,
                "host": latin1(e.host), "sign": str(e.sign), "src_sign": str(e.sign & 1),
                "dst_sign": str(e.sign >> 1 & 1), "dns_sign": str(e.sign >> 2 & 1), "uri_sign": str(e.sign >> 3 & 1)})
        printed = []
        for row in rows:
            row["list"] = [[x["tid"], x["type"], x["name"], x["mkmode"]] if x["mkmode"] == 1 else
                           [x["id"], x["type"], x["mkmode"]] for x in row["list"]]
            printed.append({member: row[member] for member in row if not member.endswith("_desc")})
        self.assertGreater(len(rows), 2)
        self.assertEqual(expected, printed)

    def test_signatures(self):
        rows, exchanges = self.document("malclog list listtype=table")
        signatures, events = self.events(exchanges)
        self.assertEqual(len(signatures), 64)
        expected = []
        for slot, s in enumerate(signatures):
            if s.tid and not s.disabled and s.mkmode == kind("malclog").Mkmode.own_name:
                expected.append([s.tid, s.vid, s.type.value, latin1(s.name), sum(e.bitmap >> slot & 1 for e in events)])
        self.assertEqual(sorted(expected), sorted([r["tid"], r["vid"], r["type"], r["name"], r["cnt"]]
                                                  for r in rows if r["mode"] == 1))
        self.assertGreater(len(expected), 1)

    def test_mails(self):
        rows, exchanges = self.document("emaillog list")
        names = self.names(exchanges)
        texts = {"header_from": "from", "header_to": "to", "header_cc": "cc", "header_subject": "subject"}
        expected, unknown = [], []
        for r in sorted(self.records("emaillog", exchanges), key=lambda r: -r.key):
            row = {"from": "", "to": "", "cc": "", "subject": "", "tolen": 0, "file": []}
            for e in r.elems.used.elements:
                name = getattr(e.type, "name", "unknown")
                if name in texts:
                    row[texts[name]] = latin1(e.value)
                    row["tolen"] = e.length if name == "header_to" else row["tolen"]
                elif name == "attachment":
                    self.assertEqual(e.length, len(e.value.name) + 1)
                    row["file"].append(latin1(e.value.name))
                elif name == "time":
                    row.update({"time": e.value.time_secs, "req_time": clock(e.value.time_secs)})
                elif name == "addresses":
                    v = e.value
                    row.update({"src_ip": dotted(v.src_net), "dst_ip": dotted(v.dst_net), "src_port": v.sport_net,
                                "dst_port": v.dport_net})
                elif name == "mac":
                    row["mac"] = mac_text(e.value.mac)
                elif name == "app":
                    row.update({"apid": e.value.apid, "appname": names.get(e.value.apid, ("", "Unknown"))[1]})
                else:
                    unknown.append((e.type, e.value))
            row["file"] = ",".join(row["file"])
            expected.append(row)
        self.assertEqual(expected, [{m: row[m] for m in row if not m.endswith("_desc")} for row in rows])
        self.assertEqual([mail["file"] for mail in expected], ["", "1.txt,2.txt,3.txt,4.txt,5.txt"])
        self.assertEqual(unknown, [(77, b"passed over")])

    @staticmethod
    def login(head):
        return {"src_ip": dotted(head.sip_net), "src_port": head.sport_net, "dst_ip": dotted(head.dip_net),
                "dst_port": head.dport_net, "mac": mac_text(head.mac), "start": head.start,
                "req_time": clock(head.time), "time": head.time}

    def test_ftp_operations(self):
        rows, exchanges = self.document("ftplog list limit=100000")
        expected = [{**self.login(r.head), "user": latin1(r.user), "name": latin1(r.name),
                     "optype": r.optype.name.removeprefix("login_").upper()}
                    for r in self.records("ftplog", exchanges)]
        self.assertGreater(len(rows), 1)
        self.assertEqual(rows_of(expected), rows_of({m: r[m] for m in r if not m.endswith("_desc")} for r in rows))

    def test_telnet_commands(self):
        rows, exchanges = self.document("telnetlog list limit=100000")
        expected = []
        for r in self.records("telnetlog", exchanges):
            self.assertEqual(r.cmdlen, len(r.cmd))
            command = latin1(r.cmd)
            for removed in '"\t':
                command = command.replace(removed, "")
            expected.append({**self.login(r.head), "user": latin1(r.user), "cmd": command})
        self.assertGreater(len(rows), 1)
        self.assertEqual(rows_of(expected), rows_of({m: r[m] for m in r if not m.endswith("_desc")} for r in rows))

    def test_asset_objects(self):
        out, exchanges = self.run_command("assetsobj2 list")
        lines = [f"{r.num1} {r.num2} {r.num3} {latin1(r.name)}\n" for r in self.records("assetsobj", exchanges)]
        self.assertGreater(len(lines), 1)
        self.assertEqual("".join(lines), latin1(out))

    def test_addresses(self):
        out, exchanges = self.run_command("qsviptable get 1")
        self.assertEqual([e.answer.replylen for e in exchanges], [0] * len(exchanges))
        lines = [dotted(address) + "\n" for address in self.records("addresses", exchanges)]
        self.assertGreater(len(lines), 1)
        self.assertEqual("".join(lines), latin1(out))

    def test_dictionary_tables(self):
        _, exchanges = self.run_command("malclog list listtype=app")
        tables, _ = self.dictionary(exchanges[0])
        for name, entries in (("apps", tables.apps), ("groups", tables.groups)):
            rows = [row.split(",") for row in
                    (self.folder / f"data/user_{name}.csv").read_text().splitlines()[1:] if row[:1].isdigit()]
            self.assertEqual([[str(e.id), str(e.group), latin1(e.name), latin1(e.display_name)]
                              for e in entries if e.name], rows)
            self.assertGreater(len(rows), 0)

    def test_requests(self):
        code = kind("request").Code
        for words, msgcode, target, text, area in (
                ("ftplog list page=2 limit=3", code.list, b"ftplog", b" page=2 limit=3", 2048),
                ("malclog list listtype=app", code.list, b"qsvmalicious", b" listtype=app", 2048),
                ("qsviptable get tid=1", code.get, b"qsvtable", b"tid=1 \0", 2048),
                ("module list", code.module_list, b"", b"\0", 64),
                ("table addip 1 10.9.9.9", code.table_addip, b"", b"tid=1 ip=10.9.9.9\0", 64),
                ("table getcmp 1", code.table_getcmp, b"1", b"", 64 * 32)):
            with self.subTest(words):
                before = int(time.time())
                _, exchanges = self.run_command(words)
                first = exchanges[0]
                self.assertEqual((first.request.msgcode, first.request.errtext, first.words),
                                 (msgcode, target, text))
                self.assertEqual((first.request.datalen, first.request.shmsize, len(first.area)),
                                 (len(text), area * 1024, area * 1024))
                self.assertEqual([e.request.islast for e in exchanges], [0] * len(exchanges))
                self.assertEqual([e.answer.islast for e in exchanges], [0] * (len(exchanges) - 1) + [1])
                # The client reads a coarse clock, which may be a tick behind the precise one.
                self.assertTrue(before - 1 <= first.request.stamp <= int(time.time()))
                for e in exchanges:
                    self.assertEqual((e.answer.status, e.answer.shmid, e.answer.msgcode),
                                     (0, e.request.shmid, e.request.msgcode))
                    self.assertGreaterEqual(e.request.shmid, 0)
                    r = e.request
                    self.assertEqual((r.stream, r.reserved1, r.reserved2), (bytes(8), bytes(12), bytes(4)))
                    self.assertEqual((r.flags, r.argval), (0, 0))

    def test_dictionary_is_asked_for_where_it_is_needed(self):
        for words, asked in (("malclog list listtype=app", 1), ("malclog list listtype=dst", 0), ("ftplog list", 0),
                             ("tcpreset listip", 0), ("tcpreset listip type=src", 1)):
            with self.subTest(words):
                _, exchanges = self.run_command(words)
                self.assertEqual((exchanges[0].request.syncdesc, exchanges[0].answer.syncdesc), (asked, asked))

    def test_the_example_of_the_page(self):
        page = (TOP / "docs/wire/README.md").read_text()
        block = re.search(r"(?m)^    tools/npm_tools(?:.*\n)(?:    .*\n)+", page).group(0)
        _, exchanges = self.run_command("ftplog list")
        first = len(list(self.captured.glob("*.answer"))) - len(exchanges) + 1
        script = re.sub("(?m)^    ", "", block)
        for ours, theirs in (("/tmp/npm", os.environ["QSVMON_NPM_TOOLS"]), ("/tmp/parsers", f"{self.folder}/parsers"),
                             ("/tmp/captured/0001", f"{self.captured}/{first:04}"), ("python3 ", sys.executable + " -B ")):
            self.assertIn(ours, script)
            script = script.replace(ours, theirs)
        run = subprocess.run(["sh", "-c", script], capture_output=True, text=True, cwd=TOP, timeout=120)
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        self.assertEqual(run.stdout, "".join(f"{r.head.time} {r.user} {r.name}\n"
                                             for r in self.records("ftplog", exchanges[:1])))
        self.assertGreater(len(run.stdout), 20)

    def test_refusals_and_texts(self):
        out, exchanges = self.run_command("table get 99", status=255)
        self.assertNotEqual(exchanges[0].answer.status, 0)
        self.assertEqual(exchanges[0].answer.errtext + b"\n", out)
        out, exchanges = self.run_command("module list")
        self.assertEqual(exchanges[0].area[:exchanges[0].answer.replylen].rstrip(b"\0"), out)
        # Its exit status is the number of the task; the appliance has two from the start.
        _, exchanges = self.run_command("worker add taskname=wire", status=3)
        self.assertEqual(exchanges[0].answer.result, 3)


class FieldsOfSampleData(Fields):
    """The same with the sample data, in many batches. The mails are those above: headers that are not
    encoded are printed as they came."""

    OPTIONS = ("--batch", "50")

    @staticmethod
    def data():
        return str(TOP / "sim/data")


if __name__ == "__main__":
    os.environ["TZ"] = "UTC"
    harness.main()
