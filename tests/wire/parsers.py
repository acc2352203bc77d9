"""The parsers that docs/wire makes. They note where each field lay.

QSVMON_NPM_TOOLS names the folder of tools/npm_tools; Debian's python3-kaitaistruct is the runtime.
"""
import importlib
import io
import os
import pathlib
import subprocess
import sys
import tempfile

from kaitaistruct import KaitaiStream

TOP = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(TOP / "tests/simulated"))
import harness  # noqa: E402, F401 (for the tests)

sys.dont_write_bytecode = True


def _make():
    with tempfile.TemporaryDirectory(prefix="qsvmon-wire-") as made:
        subprocess.run([str(TOP / "tools/compile_wire"), os.environ["QSVMON_NPM_TOOLS"], "python", made, "debug"],
                       check=True)
        sys.path.insert(0, made)
        try:
            return {path.stem: importlib.import_module(path.stem) for path in (TOP / "docs/wire").glob("*.ksy")}
        finally:
            sys.path.remove(made)


wire = _make()


def parse(kind, data, *parameters):
    """An object of a generated class, from bytes."""
    parsed = kind(*parameters, KaitaiStream(io.BytesIO(data)))
    parsed._read()
    return parsed


def kind(name):
    """The class of "file.type", or of the whole "file"."""
    file, *types = name.split(".")
    found = getattr(wire[file], "".join(part.title() for part in file.split("_")))
    for nested in types:
        found = getattr(found, "".join(part.title() for part in nested.split("_")))
    return found
