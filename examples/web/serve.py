#!/usr/bin/env python3
"""Serves the example page and runs qsvmon for it, on this machine alone.

    serve.py [--program QSVMON] [--folder DIR] [--port N]

Python's standard library is all it needs. What may be asked is listed in LISTINGS; whatever is not
there is refused, since a word is the daemon's to read: a blank inside a value begins a new word.
"""

import argparse
import http.server
import json
import pathlib
import re
import subprocess
import sys
import threading
import urllib.parse

HERE = pathlib.Path(__file__).resolve().parent
FILES = {
    "/": ("index.html", "text/html; charset=utf-8"),
    "/page.js": ("page.js", "text/javascript; charset=utf-8"),
    "/qsvmon.js": ("qsvmon.js", "text/javascript; charset=utf-8"),
    "/style.css": ("style.css", "text/css; charset=utf-8"),
}

# The form of each word's value. None of them matches a blank, a control character or nothing.
NUMBER = "[0-9]{1,9}"
ADDRESS = r"[0-9]{1,3}(\.[0-9]{1,3}){3}"
NAME = "[A-Za-z0-9._:-]{1,64}"
PAGES = {"page": "[1-9][0-9]{0,6}", "limit": "[1-9][0-9]{0,2}|1000"}
COUNTERS = "flowcnt|http|https|mintime|maxtime"
ROWS = {"filter": NAME, "order": "asc|desc", "row": f"{NUMBER}-{NUMBER}"}
HITS = {"tid": NUMBER, "type": "ip|dns", "itlgc_id": NUMBER}
TABLE = {"tid": NUMBER, "info": "1"}

# The command of each listing and the words that may follow it. No word here changes anything or
# writes a file.
LISTINGS = {
    "tcpreset-listip": ("tcpreset listip", {**ROWS, "type": "dst|src", "sort": COUNTERS}),
    "tcpreset-listdns": ("tcpreset listdns", {**ROWS, "sort": COUNTERS + "|http[2-5]0x"}),
    "tcpreset-list": ("tcpreset list", {}),
    "malclog-detail": ("malclog list listtype=detail",
                       {**PAGES, **HITS, "apid": NUMBER, "src": ADDRESS, "dst": ADDRESS,
                        "host": NAME}),
    "malclog-dst": ("malclog list listtype=dst", {**PAGES, **HITS}),
    "malclog-src": ("malclog list listtype=src", {**PAGES, **HITS}),
    "malclog-app": ("malclog list listtype=app", {**PAGES, **HITS}),
    "malclog-table": ("malclog list listtype=table", {"itlgc_id": NUMBER}),
    "malclog-host": ("malclog list listtype=host", {**PAGES, **HITS}),
    "emaillog": ("emaillog list", {**PAGES, "ip": ADDRESS, "mac": "[0-9A-Fa-f]{2}([-:][0-9A-Fa-f]{2}){5}",
                                   "keywd": r"[^\s\x00-\x20\x7f-\x9f]{1,64}"}),
    "ftplog": ("ftplog list", PAGES),
    "telnetlog": ("telnetlog list", PAGES),
    "table-get": ("table get", TABLE),
    "qsviptable-get": ("qsviptable get", TABLE),
    "assetsobj2-list": ("assetsobj2 list", PAGES),
}
# Words that are compared with bytes of mails, which are GB2312; all others are ASCII.
ENCODINGS = {"keywd": "gbk"}

MOST_BYTES = 64 << 20
AT_ONCE = 4
HEADERS = {
    "Content-Security-Policy": "default-src 'none'; script-src 'self'; style-src 'self'; "
                               "connect-src 'self'; base-uri 'none'; form-action 'none'; "
                               "frame-ancestors 'none'; require-trusted-types-for 'script'",
    "X-Content-Type-Options": "nosniff",
    "Referrer-Policy": "no-referrer",
    "Cross-Origin-Resource-Policy": "same-origin",
    "Cache-Control": "no-store",
}


class Refused(Exception):
    """What is sent in place of an answer: an HTTP status, a text, qsvmon's exit status if it ran."""

    def __init__(self, code, text, status=None):
        super().__init__(text)
        self.code, self.text, self.status = code, text, status


def words_of(listing, query):
    """The command line of a listing as bytes, from the part of the URL behind "?"."""
    if listing not in LISTINGS:
        raise Refused(404, "no such listing")
    command, allowed = LISTINGS[listing]
    try:
        pairs = urllib.parse.parse_qsl(query, keep_blank_values=True, strict_parsing=bool(query),
                                       errors="strict", max_num_fields=20)
    except ValueError:
        raise Refused(400, "the query cannot be read") from None
    words, seen = command.encode().split(), set()
    for key, value in pairs:
        if key not in allowed:
            raise Refused(400, "a word that this listing does not have")
        if key in seen:
            raise Refused(400, f"{key} is given twice")
        seen.add(key)
        if not re.fullmatch(allowed[key], value):
            raise Refused(400, f"the value of {key} is not of its form")
        try:
            words.append(f"{key}=".encode() + value.encode(ENCODINGS.get(key, "ascii")))
        except UnicodeEncodeError:
            raise Refused(400, f"the value of {key} has a character that mails cannot have") from None
    return words


def readable(output):
    """The reason that qsvmon printed, as a text of reasonable length."""
    # The detail listing prints the beginning of its rows before it knows that it fails.
    reason = re.split(rb'^\{"data":\[|"uri_sign":"[01]"\}', output)[-1][:2000].strip(b"\n")
    try:
        return reason.decode()
    except UnicodeDecodeError:
        return reason.decode("latin-1")


class Runner:
    """Runs qsvmon, a few at a time, each for a bounded time and with a bounded output."""

    def __init__(self, program, folder, seconds):
        self.program, self.folder, self.seconds = program, folder, seconds
        self.places = threading.BoundedSemaphore(AT_ONCE)

    def run(self, words):
        if not self.places.acquire(timeout=self.seconds):
            raise Refused(503, "too many requests at once")
        try:
            return self._run(words)
        finally:
            self.places.release()

    def _run(self, words):
        try:
            process = subprocess.Popen([self.program, *words], cwd=self.folder, stdin=subprocess.DEVNULL,
                                       stdout=subprocess.PIPE)
        except OSError as error:
            raise Refused(500, f"qsvmon cannot be run: {error.strerror}") from None
        late = threading.Event()

        def stop_late():
            late.set()
            process.terminate()

        timer = threading.Timer(self.seconds, stop_late)
        timer.start()
        try:
            output = process.stdout.read(MOST_BYTES + 1)
        finally:
            timer.cancel()
            process.stdout.close()
            self._end(process, len(output) > MOST_BYTES)
        if late.is_set():
            raise Refused(504, f"no answer within {self.seconds} seconds")
        if len(output) > MOST_BYTES:
            raise Refused(502, "the answer is too long")
        if process.returncode != 0:
            raise Refused(502, readable(output), process.returncode)
        return output

    @staticmethod
    def _end(process, stop):
        """SIGTERM lets qsvmon remove its shared memory; what follows does not."""
        if stop:
            process.terminate()
        try:
            process.wait(timeout=5)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()


class Handler(http.server.BaseHTTPRequestHandler):
    server_version = "qsvmon-example"
    sys_version = ""
    timeout = 30  # for a client that opens a connection and says nothing

    def do_GET(self):
        try:
            self.check_origin()
            path, _, query = self.path.partition("?")
            if path == "/favicon.ico":
                return self.answer(204, "image/x-icon", b"")
            if path in FILES:
                name, kind = FILES[path]
                return self.answer(200, kind, (HERE / name).read_bytes())
            if not path.startswith("/listing/"):
                raise Refused(404, "no such page")
            words = words_of(path.removeprefix("/listing/"), query)
            # Bytes of several encodings, not escaped: no type that a browser would show.
            self.answer(200, "application/octet-stream", self.server.runner.run(words))
        except Refused as refused:
            self.refuse(refused)

    def check_origin(self):
        """Another site's page must not reach this one, by its own name or by one that it made up."""
        port = self.server.server_address[1]
        if self.headers.get("Host") not in (f"127.0.0.1:{port}", f"localhost:{port}"):
            raise Refused(403, "this server answers to 127.0.0.1 alone")
        if self.headers.get("Sec-Fetch-Site") in ("cross-site", "same-site"):
            raise Refused(403, "another site's page may not ask here")

    def refuse(self, refused):
        body = json.dumps({"error": refused.text, "status": refused.status}).encode()
        self.answer(refused.code, "application/json", body)

    def answer(self, code, kind, body):
        self.send_response(code)
        for name, value in HEADERS.items():
            self.send_header(name, value)
        self.send_header("Content-Type", kind)
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)

    def send_error(self, code, message=None, explain=None):
        """What the library itself refuses: other methods, lines too long."""
        self.close_connection = True
        self.refuse(Refused(code, message or "refused"))

    def log_message(self, *_):
        """A request's line is its sender's text, and a terminal acts on some texts."""


class Server(http.server.ThreadingHTTPServer):
    daemon_threads = True

    def __init__(self, port, runner):
        super().__init__(("127.0.0.1", port), Handler)
        self.runner = runner

    def handle_error(self, request, client_address):
        """A browser that went elsewhere before its answer came is no error."""
        if not isinstance(sys.exc_info()[1], ConnectionError):
            super().handle_error(request, client_address)


def main():
    options = argparse.ArgumentParser(description="Serves the example page on 127.0.0.1.")
    options.add_argument("--program", default="qsvmon", help="the qsvmon to run")
    options.add_argument("--folder", default="/", help="the folder to run it in")
    options.add_argument("--port", type=int, default=8080, help="0: any that is free")
    options.add_argument("--seconds", type=float, default=30, help="how long an answer may take")
    chosen = options.parse_args()
    try:
        server = Server(chosen.port, Runner(chosen.program, chosen.folder, chosen.seconds))
    except (OSError, OverflowError) as error:
        options.exit(1, f"serve.py: cannot listen on 127.0.0.1, port {chosen.port}: {error}\n")
    print(f"http://127.0.0.1:{server.server_address[1]}/", flush=True)
    try:
        server.serve_forever()
    except KeyboardInterrupt:
        pass


if __name__ == "__main__":
    main()
