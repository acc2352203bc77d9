"""Finds the examples of the pages and of the manual page.

An example is a block of code (indented by four spaces, fenced, or `.Bd -literal` and `.Dl` of the
manual page) in which a line begins with "$ ". Such a line is a command, lines beginning with "> "
carry it on, and the lines up to the next command or the end of the block are all that it prints,
standard error included. Empty lines before the next command are there for the reader.

A fenced block whose first line is a comment with a file's name (`# reader.py`) is that file to the
examples of its page.

Left out of an output is what "..." stands for: within a line some text without a line end, on a
line of its own any number of lines, none included.
"""

import dataclasses
import re

ELISION = "..."


@dataclasses.dataclass
class Block:
    """A block of code: where it begins, the word behind its fence, its lines."""
    line: int
    language: str
    lines: list

    def is_example(self):
        return any(line.startswith("$ ") for line in self.lines)

    def file_name(self):
        """The name that the block's first line gives to it as a file, or None."""
        named = re.fullmatch(r"# (\w+\.\w+)", self.lines[0]) if self.language and self.lines else None
        return named and named.group(1)


@dataclasses.dataclass
class Command:
    """A command of an example, and the text that the page shows as its output."""
    line: int
    text: str
    output: str


def markdown_blocks(text):
    """The blocks of code of a Markdown page."""
    blocks, lines = [], text.splitlines()
    number = 0
    while number < len(lines):
        fence = re.match(r" {0,3}(`{3,}|~{3,})\s*(\w*)", lines[number])
        if fence:
            end = number + 1
            while end < len(lines) and not lines[end].strip().startswith(fence.group(1)):
                end += 1
            blocks.append(Block(number + 2, fence.group(2), lines[number + 1:end]))
            number = end + 1
        elif lines[number].startswith("    ") and (number == 0 or not lines[number - 1].strip()):
            end = number
            while end < len(lines) and (lines[end].startswith("    ") or not lines[end].strip()):
                end += 1
            body = [line[4:] for line in lines[number:end]]
            while body and not body[-1]:
                body.pop()
            blocks.append(Block(number + 1, "", body))
            number = end
        else:
            number += 1
    return blocks


def plain_roff(line):
    """A line of a literal display as it is shown."""
    for escape, shown in ((r"\&", ""), (r"\-", "-"), (r"\e", "\\"), (r"\(dq", '"')):
        line = line.replace(escape, shown)
    return line


def manual_blocks(text):
    """The literal displays and one-line displays of an mdoc page."""
    blocks, current = [], None
    for number, line in enumerate(text.splitlines(), 1):
        if line.startswith(".Bd -literal"):
            current = Block(number + 1, "", [])
        elif line == ".Ed" and current is not None:
            blocks.append(current)
            current = None
        elif current is not None:
            current.lines.append(plain_roff(line))
        elif line.startswith(".Dl "):
            blocks.append(Block(number, "", [plain_roff(line[4:])]))
    return blocks


def blocks_of(path):
    text = path.read_text()
    return markdown_blocks(text) if path.suffix == ".md" else manual_blocks(text)


def commands_of(block):
    """The commands of an example with their outputs."""
    commands = []
    for number, line in enumerate(block.lines, block.line):
        if line.startswith("$ "):
            commands.append(Command(number, line[2:], ""))
        elif not commands:
            raise ValueError(f"line {number}: an example begins with its command")
        elif line.startswith("> ") and not commands[-1].output:
            commands[-1].text += "\n" + line[2:]
        else:
            commands[-1].output += line + "\n"
    for command in commands:
        command.output = command.output.rstrip("\n")
        command.output += "\n" if command.output else ""
    return commands


def pattern_of(output):
    """A regular expression for what a page shows as an output, without the last line end."""
    parts = []
    for line in output.splitlines():
        if line.strip() == ELISION:
            parts.append("(?:[^\n]*\n)*?")
        else:
            parts.append("[^\n]+?".join(re.escape(text) for text in line.split(ELISION)) + "\n")
    return re.compile("".join(parts) + r"\Z")


def agrees(shown, printed):
    """Whether an output is what a page shows. A line end is added to a text that has none."""
    if printed and not printed.endswith("\n"):
        printed += "\n"
    return pattern_of(shown).match(printed) is not None
