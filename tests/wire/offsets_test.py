"""The offsets of docs/wire, of protocol.md and of the program's records against each other."""
import re
import unittest

from parsers import TOP, harness, kind, parse, wire

PROTOCOL = (TOP / "docs/protocol.md").read_text()


def fields(name, *parameters, base=0):
    """(field, offset, bytes) of each field of a type, those of nested records in their place."""
    parsed = parse(kind(name), bytes(4096), *parameters)
    found = []
    for field in parsed.SEQ_FIELDS:
        where = parsed._debug[field]
        if field == "head":
            found += [(f, base + at, width) for f, at, width in fields("login_head")]
        else:
            found.append((field, base + where["start"], where["end"] - where["start"]))
    return found


def struct(path, name):
    """(bytes, {field: offset}) that a header's static_asserts say of a record."""
    text = (TOP / path).read_text()
    size = re.search(rf"static_assert\(sizeof\({name}\) == (\d+)", text)
    offsets = re.findall(rf"static_assert\(offsetof\({name}, (\w+)\) == (\d+)\)", text)
    return int(size.group(1)), {field: int(offset) for field, offset in offsets}


WIDTHS = {"u8": 1, "u16": 2, "u32": 4, "u64": 8, "i32": 4}


def table(*after):
    """(offset, bytes) of the rows of the first table behind these texts, one behind the other."""
    at = 0
    for text in after:
        at = PROTOCOL.index(text, at) + len(text)
    rows = re.search(r"\| Offset .*?\n\|[-|]+\n((?:\|.*\n)+)", PROTOCOL[at:]).group(1)
    found = []
    for row in rows.splitlines():
        offset, width = [cell.strip() for cell in row.split("|")[1:3]]
        width = width.removesuffix(" net")
        found.append((int(offset), WIDTHS.get(width) or int(re.fullmatch(r"(\d+) bytes?", width).group(1))))
    return found


class Offsets(unittest.TestCase):
    maxDiff = None
    # Fields that the program does not look at, and so does not assert.
    UNASSERTED = {"reserved", "reserved1", "reserved2"}

    def hold(self, name, headers, rows, parameters=()):
        """A type of docs/wire against the program's records and protocol.md's rows."""
        found = fields(name, *parameters)
        offsets, size = {}, 0
        for path, record in headers:
            size, asserted = struct(path, record)
            offsets.update(asserted)
        with self.subTest(name, against="the program"):
            self.assertEqual({f: at for f, at, _ in found if f not in self.UNASSERTED or f in offsets}, offsets)
            self.assertEqual(found[-1][1] + found[-1][2], size)
        with self.subTest(name, against="protocol.md"):
            self.assertEqual([(at, width) for _, at, width in found], rows)

    def test_of_every_record(self):
        self.hold("request", [("rpc/wire/request.h", "RpcRequest")], table("## The 208 bytes"))
        self.hold("tcpreset.reset_session", [("commands/tcpreset/reset_record.h", "ResetRecord")],
                  table("### Reset session, 64 bytes"))
        self.hold("malclog.signature", [("commands/malclog/malc_record.h", "MalcTid")], table("Signature, 40 bytes"))
        self.hold("malclog.event", [("commands/malclog/malc_record.h", "MalcEvent")], table("Event, 80 bytes"))
        begin = table("### FTP operation, 116 bytes", "Both begin alike")
        head = ("commands/sessionlog/login_record.h", "LoginHead")
        self.hold("login_head", [head], begin)
        self.hold("ftplog.operation", [head, ("commands/sessionlog/login_record.h", "FtpLogRecord")],
                  begin + table("FTP goes on"))
        self.hold("telnetlog.command", [head, ("commands/sessionlog/login_record.h", "TelnetLogRecord")],
                  begin + table("Telnet goes on"))
        self.hold("assetsobj.asset_object", [("commands/iptable/asset_object_record.h", "AssetObjectRecord")],
                  table("### Asset object, 144 bytes"))

    def test_of_mails(self):
        # An area of zeros has no elements, so that the whole record can be parsed from it.
        self.hold("emaillog.mail", [("commands/sessionlog/mail_record.h", "MailRecord")],
                  table("### Mail, 1032 bytes"))
        addresses = fields("emaillog.addresses")
        size = int(re.search(r"static_assert\(sizeof\(MailAddressBlock\) == (\d+)\)",
                             (TOP / "commands/sessionlog/mail_record.h").read_text()).group(1))
        self.assertEqual(addresses[-1][1] + addresses[-1][2], size)
        self.assertEqual([f for f, _, _ in fields("emaillog.element")], ["type", "length", "value"])
        self.assertEqual([at for _, at, _ in fields("emaillog.element")], [0, 1, 3])

    def test_of_dictionary_entries(self):
        size, offsets = struct("rpc/wire/dict_entry.h", "DictEntry")
        found = fields("dictionary.entry")
        self.assertEqual({f: at for f, at, _ in found}, offsets)
        self.assertEqual(found[-1][1] + found[-1][2], size)
        self.assertIn(f"application entries, {size} bytes each", PROTOCOL)
        self.assertIn(f"group entries, {size} bytes each", PROTOCOL)

    def test_every_file_is_held(self):
        self.assertEqual(set(wire), {"request", "dictionary", "tcpreset", "malclog", "emaillog", "login_head",
                                     "ftplog", "telnetlog", "assetsobj", "addresses"})
        page = (TOP / "docs/wire/README.md").read_text()
        for name in wire:
            self.assertIn(f"]({name}.ksy)", page)

    def test_numbers_that_mean_something(self):
        codes = {member.value for member in kind("request").Code}
        header = re.findall(r"k\w+ = (\d+),", (TOP / "rpc/wire/message_codes.h").read_text())
        self.assertEqual(codes, {int(code) for code in header})
        rows = PROTOCOL[PROTOCOL.index("## Codes"):PROTOCOL.index("All codes from 2050")]
        self.assertEqual(codes, {int(n) for row in re.findall(r"^\| ([\d, ]+) \|", rows, re.M)
                                 for n in row.split(", ")})
        # The names as well: the verbs are the header's, the table's codes stand in one row of the page.
        verbs = re.findall(r"kVerb(\w+) = (\d+),", (TOP / "rpc/wire/message_codes.h").read_text())
        names = {m.value: m.name for m in kind("request").Code}
        self.assertEqual({n: name for n, name in names.items() if n >= 2050},
                         {int(n): verb.lower() for verb, n in verbs})
        numbers, subs = re.search(r"^\| (121[\d, ]+) \| `table` (.*?);", rows, re.M).groups()
        self.assertEqual({n: name for n, name in names.items() if n < 280},
                         {int(n): "table_" + sub for n, sub in zip(numbers.split(", "), subs.split(", "))})
        for said, found, expected in (
                ("| 4 | u8 | 0: IP signature, 1: DNS signature |", "SignatureType", {0: "ip", 1: "dns"}),
                ("| 7 | u8 | 1: listed under its own name, 2: under its category |", "Mkmode",
                 {1: "own_name", 2: "category"})):
            self.assertIn(said, PROTOCOL)
            self.assertEqual({m.value: m.name for m in getattr(kind("malclog"), found)}, expected)
        elements = {m.value: m.name for m in kind("emaillog").ElementType}
        header = re.findall(r"kMail\w+ = (\d+),", (TOP / "commands/sessionlog/mail_record.h").read_text())
        self.assertEqual(sorted(elements), [int(n) for n in header])
        row = re.search(r"operation: (0 `UNKN`.*?); others", PROTOCOL).group(1)
        self.assertEqual({m.value: m.name.removeprefix("login_").upper() for m in kind("ftplog").Verb},
                         {int(n): verb for n, verb in re.findall(r"(\d+) `(\w+)`", row)})


if __name__ == "__main__":
    harness.main()
