#!/usr/bin/env python3
"""Holds the manual page, docs/ and the completion files against the list of commands.

completions/commands.txt is held against the program's command table by a unit test; this script
holds everything else against that list, against the schemas and against the sources.
"""

import json
import pathlib
import re
import subprocess
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
MANUAL = (ROOT / "docs/qsvmon.8").read_text()
MODULES_SECTION = {
    "tcpreset": "Reset sessions",
    "malclog": "Malicious events",
    "emaillog": "Session logs",
    "ftplog": "Session logs",
    "telnetlog": "Session logs",
}
MACROS = {".It", ".Cm", ".Op", "Cm", "Op", "Oo", "Oc", "Ns", "Ar", "Xo", "Xc", "|", ",", "Nm"}


def commands():
    """(daemon, module, sub-command, words) of every line of the list."""
    for line in (ROOT / "completions/commands.txt").read_text().splitlines():
        if line and not line.startswith("#"):
            daemon, module, *rest = line.split()
            yield daemon, module, rest[0] if rest else "", rest[1:]


def words_of(words):
    """(key with "=", fixed values) of each word that is not one by position."""
    for word in words:
        if not word.startswith("="):
            key, values = word.split("=", 1)
            yield key + "=", [v for v in values.split("|") if v]


def manual_section(title):
    return re.search(rf"^\.Ss {re.escape(title)}$(.*?)^\.S[sh] ", MANUAL, re.M | re.S).group(1)


def manual_items():
    """The plain words of every tagged item and command line of the manual page."""
    for line in MANUAL.splitlines():
        if line.startswith((".It ", ".Cm ", ".Op ")):
            yield [word for word in line.split() if word not in MACROS]


def sources(*folders):
    for folder in folders:
        for path in sorted((ROOT / folder).rglob("*.cpp")) + sorted((ROOT / folder).rglob("*.h")):
            text = re.sub(r"//.*", "", path.read_text())
            yield path.relative_to(ROOT), text


def member_tables(text):
    """The member names of every table of a page, in order."""
    tables, current = [], []
    for line in text.splitlines() + [""]:
        row = re.match(r"\| (\d+) \| `([a-z][a-z0-9_]*)` \|", line)
        if row:
            current.append(row.group(2))
        elif current and not line.startswith("|"):
            tables.append(current)
            current = []
    return tables


def objects(schema):
    """Every object of a schema below the document itself, as its member names in order."""
    found = []

    def walk(node):
        if isinstance(node, dict):
            if "properties" in node:
                found.append(list(node["properties"]))
            for value in node.values():
                walk(value)
        elif isinstance(node, list):
            for value in node:
                walk(value)

    walk(schema["properties"]["data"]["items"])
    return found


class Manual(unittest.TestCase):
    def test_names_every_command(self):
        items = list(manual_items())
        verbs = manual_section("Verbs of any other module")
        for _, module, sub, _ in commands():
            with self.subTest(command=f"{module} {sub}"):
                if module == "*":
                    self.assertRegex(verbs, rf"(?m)^\.Cm .*\b{sub}\b|^\.Cm {sub}$")
                else:
                    self.assertTrue(any(i[:1] == [module] and (not sub or sub in i) for i in items))

    def test_names_every_word_and_value(self):
        for _, module, sub, words in commands():
            section = MODULES_SECTION.get(module)
            text = manual_section(section) if section else MANUAL
            for key, values in words_of(words):
                with self.subTest(command=f"{module} {sub}", word=key):
                    self.assertRegex(text, rf"\b{key[:-1]} Ns = Ns ")
                for value in values:
                    with self.subTest(command=f"{module} {sub}", word=key, value=value):
                        self.assertRegex(text, rf"(?m)^\.(Cm|It) .*\b{value}\b|^{value} ")

    def test_explains_every_error_word(self):
        for path, text in sources("cli", "rpc", "commands", "pools"):
            for word in re.findall(r'"([A-Z][A-Z_]{4,})(?:\\n)?"', text):
                with self.subTest(source=str(path), error=word):
                    self.assertRegex(MANUAL, rf"(?m)^\.It {word}$")

    # Texts of servers' sockets and of handlers that no command reaches.
    UNREACHED = ("socket_listen", "udp_listen", "bind ", "listen fail", "usage:", "socket_accept",
                 "vexacli table matchtest")

    def test_explains_every_message(self):
        said = [line[4:] for line in MANUAL.splitlines() if line.startswith(".It ")]
        said = [line.replace("%s", "").replace("%d", "") for line in said]
        telling = r"fail|can't|invalid|iptbl|vexacli|qsvmon |too long|shouldn't"
        for path, text in sources("cli", "rpc", "commands", "pools", "platform"):
            for literal in re.findall(r'"((?:[^"\\\n]|\\.)*)"', text):
                if not re.search(telling, literal) or literal.startswith(self.UNREACHED):
                    continue
                plain = re.sub(r"%z?[a-z]", "", literal).replace("\\n", "").strip(" :(")
                with self.subTest(source=str(path), text=literal):
                    self.assertTrue(any(plain in line for line in said))


class Pages(unittest.TestCase):
    def test_commands_page_has_every_row_and_word(self):
        page = (ROOT / "docs/commands.md").read_text()
        for _, module, sub, words in commands():
            name = f"{module} {sub}".strip()
            with self.subTest(command=name):
                row = re.search(rf"^\| `{re.escape(name)}` \|.*$", page, re.M)
                self.assertIsNotNone(row)
            for key, values in words_of(words):
                for word in [key + value for value in values] or [key]:
                    with self.subTest(command=name, word=word):
                        self.assertIn(f"`{word}`", row.group(0))

    def test_listing_pages_have_every_member_in_order(self):
        schemas = sorted((ROOT / "docs/schema").glob("*.schema.json"))
        self.assertEqual(len(schemas), 11)
        for path in schemas:
            name = path.name.removesuffix(".schema.json")
            tables = member_tables((ROOT / f"docs/listings/{name}.md").read_text())
            with self.subTest(listing=name):
                self.assertCountEqual(objects(json.loads(path.read_text())), tables)

    def test_links_lead_somewhere(self):
        for page in sorted((ROOT / "docs").rglob("*.md")):
            for link in re.findall(r"\]\(([^)#]+)[^)]*\)", page.read_text()):
                with self.subTest(page=str(page.relative_to(ROOT)), link=link):
                    self.assertTrue((page.parent / link).exists())

    def test_index_names_every_page(self):
        index = (ROOT / "docs/README.md").read_text()
        for page in sorted((ROOT / "docs").rglob("*.md")):
            if page.name != "README.md":
                with self.subTest(page=page.name):
                    self.assertIn(f"({page.relative_to(ROOT / 'docs')})", index)


class Completion(unittest.TestCase):
    def test_files_are_what_the_list_makes(self):
        subprocess.run([str(ROOT / "tools/make_completions"), "--check"], check=True)

    def complete(self, line):
        script = ('. "$1"; COMP_LINE=$2; COMP_POINT=${#2}; COMP_WORDBREAKS=" ="; _qsvmon; '
                  '[ ${#COMPREPLY[@]} -eq 0 ] || printf "%s\\n" "${COMPREPLY[@]}"')
        run = subprocess.run(["bash", "-c", script, "bash", str(ROOT / "completions/qsvmon.bash"), line],
                             capture_output=True, text=True, check=True)
        return run.stdout.split()

    def test_bash_offers_modules_verbs_words_and_values(self):
        modules = dict.fromkeys(m for _, m, _, _ in commands() if m != "*")
        self.assertEqual(self.complete("qsvmon "), list(modules))
        self.assertEqual(self.complete("qsvmon te"), ["telnetlog"])
        self.assertEqual(self.complete("qsvmon tcpreset "), ["listip", "listdns", "list"])
        self.assertEqual(self.complete("qsvmon tcpreset listip s"), ["sort="])
        self.assertEqual(self.complete("qsvmon tcpreset listip row=1-2 sort=http"), ["http", "https"])
        self.assertEqual(self.complete("qsvmon malclog list listtype=h"), ["host"])
        self.assertEqual(self.complete("qsvmon auth c"), ["config"])
        self.assertEqual(self.complete("qsvmon disk c"), [])
        self.assertEqual(self.complete("qsvmon disk stat "), [])


class Words(unittest.TestCase):
    """The key words that the handlers compare and the list's are the same."""

    # Handlers that no command reaches know these words.
    UNREACHED = {"name=", "port=", "buffree=", "allowfiletodb=", "auth=", "ipaddr=", "customer=",
                 "grpid=", "ttl=", "ipname=", "devid=", "devname=", "ipgrp=", "grpname=", "grptype=",
                 "addr="}

    def test_handlers_know_the_listed_words(self):
        listed = {key for _, _, _, words in commands() for key, _ in words_of(words)}
        used = set()
        for _, text in sources("commands"):
            used |= {m.group(1) for m in re.finditer(r'"([a-z_]+=)', text)}
            for m in re.finditer(r'"([a-z_]+=)([a-z]+)"', text):
                used.add(m.group(1))
        self.assertEqual(sorted(used - listed - self.UNREACHED), [])


if __name__ == "__main__":
    unittest.main()
