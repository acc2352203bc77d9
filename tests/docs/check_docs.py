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


def markdown_pages():
    """Every page of the source, builds and scratch folders left out."""
    listed = subprocess.run(["git", "-C", str(ROOT), "ls-files", "-co", "--exclude-standard", "*.md"],
                            capture_output=True, text=True)
    if listed.returncode == 0:
        return [ROOT / name for name in sorted(listed.stdout.split()) if (ROOT / name).exists()]
    return [page for page in sorted(ROOT.rglob("*.md")) if not re.search("build|node_modules", str(page.relative_to(ROOT)))]


def plain_text(page):
    """A page without its code, in which brackets are no links."""
    text = re.sub(r"(?ms)^```.*?^```$|^    .*?$", "", page.read_text())
    return re.sub(r"`[^`\n]*`", "", text)


def anchors(page):
    """The anchors of a page's headings, as a forge makes them."""
    heads = re.findall(r"(?m)^#+ (.*)$", re.sub(r"(?ms)^```.*?^```$", "", page.read_text()))
    return [re.sub(r"[^\w -]", "", head.lower()).replace(" ", "-") for head in heads]


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


class Messages(unittest.TestCase):
    """Every text of the sources that a person can see is explained."""

    # Texts of servers' sockets and of handlers that no command reaches, of calls that no command
    # makes, and of none at all.
    UNREACHED = ("socket_listen: ", "udp_listen: ", "bind ", "listen fail ", "usage:", "socket_accept: ",
                 "vexacli table matchtest", "shminit fail", "rpc_syncdesc: ", "dlopen")
    # What a call prints begins with its first literal.
    PRINTS = (r"(?:Status::error|put_message|standard_out\(\)\.(?:put|text)|std::perror|\b(?:bind_)?failed\(|missing ="
              r"|snprintf\([a-z.]*errtext, sizeof [a-z.]*errtext,)")
    LITERAL = r'"((?:[^"\\\n]|\\.)*)"'

    def messages(self):
        """(source, text as it begins) of everything that is printed for a person."""
        for path, text in sources("cli", "rpc", "commands", "pools", "platform"):
            found = re.findall(rf"{self.PRINTS}[^\";{{}}]*{self.LITERAL}", text)
            found += re.findall(r'"((?:[^"\\\n]|\\.)*)\\n"', text)
            found += re.findall(r'"([A-Z]+(?:_[A-Z]+)+)"', text)
            if path.parts[0] == "pools":  # the reasons for lines that are left out
                found = [f for f in found if f not in self.reasons(text)]
            for literal in dict.fromkeys(found):
                plain = literal.replace("\\n", "").replace("%c_%s", "r_%s")
                if re.search("^[a-zA-Z]{2}|^r_", plain) and not plain.startswith(self.UNREACHED):
                    yield path, re.split(r"%", plain)[0].rstrip(" :(") or plain

    @staticmethod
    def reasons(text):
        found = re.findall(r'set_request_error\(line, "([A-Z_]+)(?:\\n)?"', text)
        return found + re.findall(r'return "([A-Z_]+)\\n"', text)

    def test_sources_are_searched_well(self):
        found = {text for _, text in self.messages()}
        for text in ("can't connect to", "out of memory", "r_", "iptbl addip table ip", "NO_MEM", "fopen",
                     "rpc_init", "AXPDICT_NOT_FOUND", "USRAGPS_NOT_FOUND", "xlsxwriter init failed.",
                     "INV_LISTTYPE", "fail to malloc tidpool size", "argument text too long"):
            with self.subTest(text=text):
                self.assertIn(text, found)

    def test_manual_explains_every_message(self):
        said = [line[4:] for line in MANUAL.splitlines() if line.startswith(".It ")]
        for path, text in self.messages():
            with self.subTest(source=str(path), text=text):
                self.assertTrue(any(line.startswith(text) for line in said))

    def test_troubleshooting_explains_every_message(self):
        page = (ROOT / "docs/troubleshooting.md").read_text().replace("\\|", "|")
        said = [text for row in re.findall(r"^\| (`.*?) \|", page, re.M) for text in re.findall("`([^`]+)`", row)]
        for path, text in self.messages():
            with self.subTest(source=str(path), text=text):
                self.assertTrue(any(line.startswith(text) for line in said))

    def test_troubleshooting_has_every_reason_for_a_library_refused(self):
        page = (ROOT / "docs/troubleshooting.md").read_text()
        source = (ROOT / "rpc/elf_check.cpp").read_text()
        reasons = re.findall(r'(?:return|\?)\s+"([^"]+)"', source)
        self.assertGreaterEqual(len(reasons), 14)
        for reason in reasons:
            with self.subTest(reason=reason):
                self.assertIn(f"`{reason}`", page)

    def test_labels_page_has_every_reason_for_a_line_left_out(self):
        page = (ROOT / "docs/labels.md").read_text()
        reasons = {reason for _, text in sources("pools") for reason in self.reasons(text)}
        self.assertGreaterEqual(len(reasons), 13)
        for reason in reasons:
            with self.subTest(reason=reason):
                self.assertIn(f"`{reason}`", page)

    def test_manual_lists_no_message_that_cannot_be_printed(self):
        printed = {text for _, text in self.messages()} | {"s_"}
        diagnostics = re.search(r"^\.Sh DIAGNOSTICS$(.*?)^\.Sh ", MANUAL, re.M | re.S).group(1)
        items = re.findall(r"^\.It (.*)$", diagnostics, re.M)
        self.assertGreater(len(items), 30)
        for item in items:
            with self.subTest(item=item):
                self.assertTrue(any(item.startswith(text) for text in printed))


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
        for page in markdown_pages():
            for link, anchor in re.findall(r"\]\(([^)#\s]*)(?:#([^)]*))?\)", plain_text(page)):
                if re.match("[a-z]+:", link):
                    continue
                target = page.parent / link if link else page
                with self.subTest(page=str(page.relative_to(ROOT)), link=link, anchor=anchor):
                    self.assertTrue(target.exists())
                    if anchor:
                        self.assertIn(anchor, anchors(target))

    def test_links_of_installed_pages_lead_to_installed_files(self):
        docs = ROOT / "docs"
        for page in sorted(docs.rglob("*.md")):
            for link in re.findall(r"\]\(([^)#\s]+)[^)]*\)", plain_text(page)):
                if re.match("[a-z]+:", link):
                    continue
                target = (page.parent / link).resolve()
                with self.subTest(page=str(page.relative_to(ROOT)), link=link):
                    self.assertIn(docs, [target, *target.parents])
                    self.assertTrue(target.is_dir() or re.search(r"\.(md|json|d\.ts|ksy)$", target.name))

    def test_rows_of_tables_have_the_columns_of_their_head(self):
        for page in markdown_pages():
            columns = 0
            for number, line in enumerate(page.read_text().splitlines(), 1):
                if not line.startswith("|"):
                    columns = 0
                    continue
                cells = len(re.findall(r"(?<!\\)\|", line))
                columns = columns or cells
                with self.subTest(page=str(page.relative_to(ROOT)), line=number):
                    self.assertEqual(cells, columns)

    def test_every_listing_has_an_example(self):
        for page in sorted((ROOT / "docs/listings").glob("*.md")):
            text = page.read_text()
            for command in re.findall(r"`([^`]+)`", text.splitlines()[0]):
                with self.subTest(page=page.name, command=command):
                    words = " .*".join(re.escape(word) for word in command.split())
                    self.assertRegex(text, rf"(?m)^    \$ .*qsvmon {words}")

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
