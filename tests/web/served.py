"""What the tests of the example page share: the page's server in this process, and small data."""
import importlib.util
import os
import pathlib
import shutil
import sys
import tempfile
import threading

# Local times are those of the programs that the server starts.
os.environ["TZ"] = "UTC"

TOP = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(TOP / "tests/simulated"))
import harness  # noqa: E402

_spec = importlib.util.spec_from_file_location("serve", TOP / "examples/web/serve.py")
serve = importlib.util.module_from_spec(_spec)
_spec.loader.exec_module(serve)


class Served:
    """The server of the page on a free port, running `program` in `folder`."""

    def __init__(self, program, folder, seconds=30):
        self.server = serve.Server(0, serve.Runner(program, folder, seconds))
        self.port = self.server.server_address[1]
        self.address = f"http://127.0.0.1:{self.port}/"
        self.thread = threading.Thread(target=self.server.serve_forever, args=(0.05,), daemon=True)
        self.thread.start()

    def close(self):
        self.server.shutdown()
        self.server.server_close()
        self.thread.join()


def data_folder(files):
    """A copy of the tests' small data with some files replaced: their names and their texts. A byte
    that is no UTF-8 is written as U+DC00 and its value."""
    folder = pathlib.Path(tempfile.mkdtemp(prefix="qsvmon-web-"))
    shutil.copytree(harness.DATA, folder, dirs_exist_ok=True)
    for name, text in files.items():
        (folder / name).write_bytes(text.encode("utf-8", "surrogateescape"))
    return folder


def csv(name, rows):
    """A data file: the header of the tests' own file of this name, and these rows."""
    header = (pathlib.Path(harness.DATA) / name).read_text().splitlines()[0]
    return "\n".join([header, *rows]) + "\n"
