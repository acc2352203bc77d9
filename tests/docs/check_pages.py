#!/usr/bin/env python3
"""Looks at every Markdown page below a folder: links lead somewhere, tables are tables.

    check_pages.py FOLDER
"""
import pathlib
import re
import sys

SKIPPED = {".git", "node_modules", "__pycache__"}


def pages(root):
    for path in sorted(root.rglob("*.md")):
        parts = path.relative_to(root).parts
        if not SKIPPED & set(parts) and not parts[0].startswith("build"):
            yield path


def plain_lines(text):
    """The page's lines with their numbers, without code blocks."""
    fenced = False
    for number, line in enumerate(text.splitlines(), 1):
        if line.startswith("```"):
            fenced = not fenced
        elif not fenced and not line.startswith(("    ", "\t")):
            yield number, line


def anchors(text):
    """What "#..." may name: the headings as their links are made."""
    for _, line in plain_lines(text):
        if line.startswith("#"):
            words = re.sub(r"[^\w\- ]", "", line.lstrip("#").strip().lower())
            yield words.replace(" ", "-")


def broken_links(page, text):
    for number, line in plain_lines(text):
        for target in re.findall(r"\]\(([^)\s]+)\)", re.sub(r"`[^`]*`", "", line)):
            if re.match(r"[a-z]+:", target):
                continue
            name, _, anchor = target.partition("#")
            file = page.parent / name if name else page
            if not file.exists():
                yield f"{page}:{number}: no such file: {target}"
            elif anchor and anchor not in anchors(file.read_text()):
                yield f"{page}:{number}: no such heading: {target}"


def cells(line):
    """How many cells a table's line has: "\\|" is text, "|" is not, not even between back quotes."""
    return len(re.findall(r"(?<!\\)\|", line)) - 1


def broken_tables(page, text):
    header, before = 0, ""
    for number, line in [*plain_lines(text), (0, "")]:
        if not line.startswith("|"):
            header, before = 0, line
        elif header == 0:
            header = cells(line)
            if before.strip():
                yield f"{page}:{number}: no empty line in front of a table"
        elif cells(line) != header or not line.rstrip().endswith("|"):
            yield f"{page}:{number}: {cells(line)} cells, the header has {header}"


def main():
    root = pathlib.Path(sys.argv[1])
    trouble, count = [], 0
    for page in pages(root):
        text = page.read_text()
        trouble += [*broken_links(page, text), *broken_tables(page, text)]
        count += 1
    if count == 0:
        trouble.append(f"no pages below {root}")
    print("\n".join(trouble) if trouble else f"{count} pages are whole")
    sys.exit(1 if trouble else 0)


if __name__ == "__main__":
    main()
