#!/usr/bin/env python3
"""Validates real output of the program, run against the simulated appliance, with the schemas.

    check_schemas.py QSVMON_HERE QSVSIM
"""

import copy
import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

import jsonschema

ROOT = pathlib.Path(__file__).resolve().parents[2]
SCHEMAS = ROOT / "docs/schema"
LISTINGS = ROOT / "docs/listings"

# The commands that each schema describes.
COMMANDS = {
    "tcpreset-listip": [
        "tcpreset listip",
        "tcpreset listip type=src sort=flowcnt order=asc row=1-20",
        "tcpreset listip type=dst sort=maxtime order=desc filter=1",
        "tcpreset listip filter=nosuchaddress",
    ],
    "tcpreset-listdns": [
        "tcpreset listdns",
        "tcpreset listdns sort=http40x order=desc row=2-5",
        "tcpreset listdns filter=nosuchname",
    ],
    "malclog-detail": [
        "malclog list listtype=detail",
        "malclog list listtype=detail page=2 limit=5",
        "malclog list listtype=detail itlgc_id=1",
        "malclog list listtype=detail tid=1004 type=dns",
        "malclog list listtype=detail src=192.0.2.1",
    ],
    "malclog-dst": ["malclog list listtype=dst", "malclog list listtype=dst page=2 limit=3"],
    "malclog-src": ["malclog list listtype=src", "malclog list listtype=src page=1 limit=3"],
    "malclog-app": ["malclog list listtype=app", "malclog list listtype=app limit=1"],
    "malclog-table": ["malclog list listtype=table", "malclog list listtype=table itlgc_id=1"],
    "malclog-host": ["malclog list listtype=host", "malclog list listtype=host page=2 limit=3"],
    "emaillog": ["emaillog list", "emaillog list page=2 limit=7", "emaillog list ip=192.0.2.1"],
    "ftplog": ["ftplog list", "ftplog list page=2 limit=7"],
    "telnetlog": ["telnetlog list", "telnetlog list page=2 limit=7"],
}
# The listings that write a file, and the encoding of its header row.
CSV_ENCODINGS = {"emaillog": "gbk", "ftplog": "utf-8", "telnetlog": "gbk"}


def schema_of(name):
    return json.loads((SCHEMAS / f"{name}.schema.json").read_text())


def validator_of(name):
    return jsonschema.Draft202012Validator(schema_of(name))


def member_orders(schema):
    """The members of every kind of object in the schema, in their order."""
    orders = []

    def walk(node):
        if isinstance(node, dict):
            if isinstance(node.get("properties"), dict):
                orders.append(list(node["properties"]))
            for value in node.values():
                walk(value)
        elif isinstance(node, list):
            for value in node:
                walk(value)

    walk(schema)
    return orders


def objects_in(document):
    if isinstance(document, dict):
        yield document
        for value in document.values():
            yield from objects_in(value)
    elif isinstance(document, list):
        for value in document:
            yield from objects_in(value)


def in_some_order(members, orders):
    for order in orders:
        if set(members) <= set(order) and members == [m for m in order if m in members]:
            return True
    return False


def csv_headers(name):
    """The header texts that the listing's page names."""
    page = (LISTINGS / f"{name}.md").read_text()
    page = page[page.index("## CSV"):]
    return re.findall(r"^\| \d+ \| `([^`]+)` \|", page, re.M)


class Appliance:
    """A simulated appliance in a scratch folder, and the program run in it."""

    def __init__(self, program, simulator, *options):
        self.program = program
        self.simulator = simulator
        self.root = pathlib.Path(tempfile.mkdtemp(prefix="qsvmon-docs-"))
        subprocess.run([simulator, "--root", str(self.root), "--background", *options], check=True)

    def run(self, command):
        return subprocess.run([self.program, *command.split()], cwd=self.root, capture_output=True)

    def close(self):
        subprocess.run([self.simulator, "--root", str(self.root), "--stop"], check=False)
        shutil.rmtree(self.root)


class Schemas(unittest.TestCase):
    appliance = None
    options = ()

    @classmethod
    def setUpClass(cls):
        cls.appliance = Appliance(PROGRAM, SIMULATOR, *cls.options)

    @classmethod
    def tearDownClass(cls):
        cls.appliance.close()

    def document(self, command):
        run = self.appliance.run(command)
        self.assertEqual((run.returncode, run.stderr), (0, b""), command)
        self.assertFalse(run.stdout.endswith(b"\n"))
        # Bytes of any encoding: each one a character.
        return json.loads(run.stdout.decode("latin-1"))

    def test_schemas_are_schemas_and_all_are_used(self):
        names = {p.name.removesuffix(".schema.json") for p in SCHEMAS.glob("*.schema.json")}
        self.assertEqual(names, set(COMMANDS))
        for name in names:
            jsonschema.Draft202012Validator.check_schema(schema_of(name))

    def test_every_object_of_a_schema_is_closed_and_named(self):
        """Every member is required, none is allowed beside, and the type made of it has a name."""
        def walk(node):
            if isinstance(node, dict):
                if node.get("type") == "object":
                    self.assertIs(node["additionalProperties"], False)
                    self.assertEqual(node["required"], list(node["properties"]))
                    self.assertRegex(node["title"], "^[A-Z][A-Za-z]+$")
                for value in node.values():
                    walk(value)
            elif isinstance(node, list):
                for value in node:
                    walk(value)

        for name in COMMANDS:
            with self.subTest(name=name):
                walk(schema_of(name))

    def test_types_have_the_members_of_the_schemas(self):
        made = {p.name.removesuffix(".d.ts") for p in (SCHEMAS / "types").glob("*.d.ts")}
        self.assertEqual(made, set(COMMANDS))
        for name in COMMANDS:
            with self.subTest(name=name):
                text = (SCHEMAS / f"types/{name}.d.ts").read_text()
                self.assertNotIn("[k: string]", text)
                bodies = re.findall(r"^export interface \w+ \{\n(.*?)^\}", text, re.M | re.S)
                members = [re.findall(r"^  (\w+)(?=: )", body, re.M) for body in bodies]
                self.assertCountEqual(members, member_orders(schema_of(name)))

    def test_real_output_agrees(self):
        for name, commands in COMMANDS.items():
            validator, orders = validator_of(name), member_orders(schema_of(name))
            for command in commands:
                with self.subTest(command=command):
                    document = self.document(command)
                    validator.validate(document)
                    for found in objects_in(document):
                        self.assertTrue(in_some_order(list(found), orders), list(found))
            with self.subTest(name=name):
                self.assertGreater(len(self.document(commands[0])["data"]), 0)

    def test_damaged_output_does_not(self):
        for name, commands in COMMANDS.items():
            validator = validator_of(name)
            document = self.document(commands[0])
            for member in document["data"][0]:
                with self.subTest(name=name, missing=member):
                    damaged = copy.deepcopy(document)
                    del damaged["data"][0][member]
                    self.assertFalse(validator.is_valid(damaged))
                with self.subTest(name=name, changed=member):
                    damaged = copy.deepcopy(document)
                    damaged["data"][0][member] = None
                    self.assertFalse(validator.is_valid(damaged))
            with self.subTest(name=name, added=True):
                damaged = copy.deepcopy(document)
                damaged["data"][0]["surprise"] = 1
                self.assertFalse(validator.is_valid(damaged))

    def test_rows_of_listip_are_of_one_kind(self):
        row = {"ip": "10.1.1.9", "flowcnt": 1, "http": 0, "https": "0", "maxtime": 2, "mintime": 1}
        for last, valid in (({"port": "80"}, True), ({"app": "http|Web"}, True), ({}, False),
                            ({"port": "80", "app": "http|Web"}, False), ({"ports": "80"}, False)):
            with self.subTest(last=last):
                document = {"data": [{**row, **last}], "total": 1}
                self.assertEqual(validator_of("tcpreset-listip").is_valid(document), valid)

    def test_examples_of_the_pages_agree(self):
        examples = 0
        for name in COMMANDS:
            for line in (LISTINGS / f"{name}.md").read_text().splitlines():
                if line.startswith('    {"data"') and "ROW" not in line and "OBJECT" not in line:
                    with self.subTest(name=name):
                        validator_of(name).validate(json.loads(line))
                        examples += 1
        self.assertGreaterEqual(examples, 10)

    def test_csv_files_have_the_columns_of_the_pages(self):
        for name, encoding in CSV_ENCODINGS.items():
            with self.subTest(name=name):
                run = self.appliance.run(f"{name} list download=1")
                self.assertEqual(run.returncode, 0)
                self.assertRegex(run.stdout, rb"^\d{14}\.csv\n$")
                made = self.appliance.root / "usr/qsvlog" / run.stdout.decode().strip()
                text = made.read_bytes()
                made.unlink()
                header = ("\n" + ",".join(csv_headers(name))).encode(encoding)
                self.assertEqual(text[:len(header) + 1], header + b"\n")
                self.assertFalse(text.endswith(b"\n"))


class SchemasOfGeneratedRecords(Schemas):
    """The same with records of every shape, in several batches."""

    options = ("--records", "700", "--batch", "100", "--distinct", "90")


class SchemasOfNastyData(unittest.TestCase):
    """Data of what a consumer must survive, a few rows at a time: what can be read agrees as well."""

    ROWS = 5

    @classmethod
    def setUpClass(cls):
        cls.appliance = Appliance(PROGRAM, SIMULATOR, "--data", "nasty")
        cls.addClassCleanup(cls.appliance.close)

    @staticmethod
    def once(pairs):
        """An object whose members are all different, as a forged member's would not be."""
        if len(dict(pairs)) != len(pairs):
            raise ValueError("a member twice")
        return dict(pairs)

    def page(self, command, number):
        """The rows of a page as a document, None when it cannot be read."""
        words = (f"row={number * self.ROWS - self.ROWS + 1}-{number * self.ROWS}" if command.startswith("tcpreset")
                 else f"page={number} limit={self.ROWS}")
        run = self.appliance.run(f"{command} {words}")
        self.assertEqual(run.returncode, 0, command)
        try:
            return json.loads(run.stdout.decode("latin-1"), strict=False, object_pairs_hook=self.once)
        except ValueError:
            return None

    def test_what_can_be_read_agrees(self):
        unread = set()
        for name, commands in COMMANDS.items():
            validator, rows = validator_of(name), 0
            for number in range(1, 31):
                document = self.page(commands[0], number)
                if document is None:
                    unread.add(name)
                    continue
                with self.subTest(name=name, page=number):
                    validator.validate(document)
                rows += len(document["data"])
                if name == "malclog-table" or (number > 1 and not document["data"]):
                    break
            with self.subTest(name=name):
                self.assertGreater(rows, 10 if name != "malclog-app" else 5)
        self.assertEqual(unread, {"tcpreset-listdns", "malclog-detail", "malclog-src", "malclog-app",
                                  "malclog-host", "emaillog", "ftplog", "telnetlog"})


if __name__ == "__main__":
    PROGRAM, SIMULATOR = (str(pathlib.Path(argument).resolve()) for argument in sys.argv[1:3])
    unittest.main(argv=sys.argv[:1])
