"""The server of the example page: what it runs, what it refuses, what it says of failures."""
import concurrent.futures
import http.client
import json
import os
import pathlib
import shutil
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import time

from served import Served, TOP, harness, serve

# Stands in for qsvmon: notes its words, a line each, and does what its folder's script says.
FAKE = """#!/bin/sh
for word in "$@"; do printf '%s\\n' "$word"; done >>calls
printf -- '--\\n' >>calls
[ ! -f then ] || . ./then
"""


class ServerTest(harness.unittest.TestCase):
    maxDiff = None

    def served(self, program, folder, **more):
        served = Served(program, folder, **more)
        self.addCleanup(served.close)
        self.port = served.port

    def ask(self, path, method="GET", **headers):
        """(HTTP status, headers, body) of one request."""
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=60)
        self.addCleanup(connection.close)
        connection.request(method, path, headers={k.replace("_", "-"): v for k, v in headers.items()})
        response = connection.getresponse()
        return response.status, response.headers, response.read()

    def refused(self, path, code, error, status=None, **headers):
        found, kind, body = self.ask(path, **headers)
        self.assertEqual((found, kind["Content-Type"]), (code, "application/json"), path)
        self.assertEqual(json.loads(body), {"error": error, "status": status}, path)


class AgainstAppliance(ServerTest):
    def appliance(self, *options):
        appliance = harness.Appliance(*options)
        self.addCleanup(appliance.close)
        self.served(harness.CLIENT, appliance.root)
        return appliance

    def test_answers_are_the_bytes_of_the_program(self):
        self.appliance()
        status, headers, body = self.ask("/listing/tcpreset-listip?sort=maxtime&order=asc&row=1-1")
        self.assertEqual(status, 200)
        self.assertEqual(body, b'{"data":[{"ip":"198.51.100.9","flowcnt":2,"http":1,"https":"0",'
                               b'"maxtime":1700000090, "mintime":1700000030,"port":"80,873"}],"total":2}')
        self.assertEqual(headers["Content-Type"], "application/octet-stream")
        # Mails are searched in GB2312, whatever the browser sends.
        for keyword, mails in (("%E4%BD%A0%E5%A5%BD", 2), ("%E5%A5%BD%E4%BD%A0", 0), ("plan", 1)):
            _, _, body = self.ask("/listing/emaillog?keywd=" + keyword)
            self.assertEqual(body.count(b'"src_ip"'), mails, keyword)

    def test_every_listing_answers(self):
        self.appliance()
        for listing in serve.LISTINGS:
            with self.subTest(listing):
                query = "?tid=1" if "table-get" in listing else ""
                self.assertEqual(self.ask(f"/listing/{listing}{query}")[0], 200)

    def test_failures_of_the_program_have_its_text_and_status(self):
        self.appliance()
        self.refused("/listing/malclog-dst?tid=1", 502, "INV_TYPE", 255)
        self.refused("/listing/table-get?tid=77", 502, "NO_TABLE", 255)
        self.refused("/listing/malclog-detail?src=1.2.3.999", 502, "INV_SRCIP", 255)

    def test_no_daemon(self):
        appliance = self.appliance("--fault", "refuse")
        self.refused("/listing/ftplog", 502, "can't connect to ./usr/ramdisk/var/mgmt.d", 255)
        self.assertTrue(appliance.root)

    def test_a_failure_behind_the_beginning_of_the_rows(self):
        self.appliance("--fault", "error", "--fault-after", "1", "--batch", "1")
        self.refused("/listing/malclog-detail", 502, "DAEMON_BUSY", 255)

    def test_a_failure_at_once_of_the_listing_that_prints_first(self):
        self.appliance("--fault", "error")
        self.refused("/listing/malclog-detail", 502, "DAEMON_BUSY", 255)


class AgainstFake(ServerTest):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.folder = pathlib.Path(scratch.name)
        self.program = self.folder / "fake"
        self.program.write_text(FAKE)
        self.program.chmod(0o755)
        self.served(str(self.program), scratch.name)

    def then(self, text):
        (self.folder / "then").write_text(text)

    def calls(self):
        """The words of each run so far, as bytes."""
        path = self.folder / "calls"
        if not path.exists():
            return []
        return [run.split(b"\n")[:-1] for run in path.read_bytes().split(b"--\n")[:-1]]

    def test_words_reach_the_program_one_each(self):
        for path, words in (
                ("tcpreset-listip?type=src&filter=a.b-c:d_e&sort=https&order=desc&row=1-20",
                 b"tcpreset listip type=src filter=a.b-c:d_e sort=https order=desc row=1-20"),
                ("tcpreset-listdns?sort=http40x", b"tcpreset listdns sort=http40x"),
                ("tcpreset-list", b"tcpreset list"),
                ("malclog-detail?tid=1&type=dns&itlgc_id=2&apid=3&src=1.2.3.4&dst=5.6.7.8&host=a.b&page=2&limit=1000",
                 b"malclog list listtype=detail tid=1 type=dns itlgc_id=2 apid=3 src=1.2.3.4 dst=5.6.7.8"
                 b" host=a.b page=2 limit=1000"),
                ("malclog-dst", b"malclog list listtype=dst"),
                ("malclog-src?limit=5", b"malclog list listtype=src limit=5"),
                ("malclog-app", b"malclog list listtype=app"),
                ("malclog-table?itlgc_id=1", b"malclog list listtype=table itlgc_id=1"),
                ("malclog-host", b"malclog list listtype=host"),
                ("emaillog?ip=1.2.3.4&mac=00-16-3e-00-00-05&keywd=$(id);%60x%60%22'%3C%3E%26",
                 b"emaillog list ip=1.2.3.4 mac=00-16-3e-00-00-05 keywd=$(id);`x`\"'<>&"),
                ("emaillog?keywd=%E4%BD%A0", b"emaillog list keywd=\xc4\xe3"),
                ("ftplog?page=1&limit=20", b"ftplog list page=1 limit=20"),
                ("telnetlog", b"telnetlog list"),
                ("table-get?tid=5&info=1", b"table get tid=5 info=1"),
                ("qsviptable-get?tid=5", b"qsviptable get tid=5"),
                ("assetsobj2-list?page=1", b"assetsobj2 list page=1")):
            with self.subTest(path):
                self.assertEqual(self.ask("/listing/" + path)[0], 200)
                self.assertEqual(self.calls()[-1], words.split(b" "))

    def test_blanks_and_what_is_like_them_are_refused(self):
        for blank in ("%20", "+", "%09", "%0a", "%0d", "%00", "%0b", "%0c", "%1b", "%7f", "%C2%A0",
                      "%E3%80%80", "%C2%85", "%E2%80%A8"):
            for listing, key in (("emaillog", "keywd"), ("malclog-detail", "host"),
                                 ("tcpreset-listip", "filter"), ("malclog-dst", "tid"),
                                 ("emaillog", "ip"), ("ftplog", "page")):
                for value in (f"1{blank}tid=6", f"{blank}1", f"1{blank}", blank):
                    with self.subTest(listing=listing, key=key, value=value):
                        self.refused(f"/listing/{listing}?{key}={value}", 400,
                                     f"the value of {key} is not of its form")
        self.assertEqual(self.calls(), [])

    def test_values_of_another_form_are_refused(self):
        for path, key in (("tcpreset-listip?sort=port", "sort"), ("tcpreset-listip?sort=http20x", "sort"),
                          ("tcpreset-listip?order=up", "order"), ("tcpreset-listip?row=1", "row"),
                          ("tcpreset-listip?row=1-2x", "row"), ("tcpreset-listip?type=app", "type"),
                          ("tcpreset-listip?filter=", "filter"), ("tcpreset-listip?filter=a%22", "filter"),
                          ("tcpreset-listip?filter=" + "a" * 65, "filter"),
                          ("ftplog?page=0", "page"), ("ftplog?page=-1", "page"), ("ftplog?limit=1001", "limit"),
                          ("ftplog?limit=%D9%A1", "limit"), ("malclog-detail?src=1.2.3", "src"),
                          ("emaillog?mac=00-16-3e", "mac"), ("table-get?info=2", "info")):
            with self.subTest(path):
                self.refused("/listing/" + path, 400, f"the value of {key} is not of its form")
        self.refused("/listing/emaillog?keywd=%F0%9F%98%80", 400,
                     "the value of keywd has a character that mails cannot have")
        self.assertEqual(self.calls(), [])

    def test_unknown_words_and_listings_are_refused(self):
        for path in ("ftplog?download=1", "ftplog?json=1", "malclog-dst?listtype=src", "malclog-table?page=1",
                     "tcpreset-list?row=1-2", "ftplog?PAGE=1", "ftplog?page%20=1", "ftplog?=1"):
            with self.subTest(path):
                self.refused("/listing/" + path, 400, "a word that this listing does not have")
        self.refused("/listing/ftplog?page=1&page=2", 400, "page is given twice")
        for query in ("page", "page=1&&limit=2", "page=%FF", "&".join(f"k{i}=1" for i in range(21))):
            with self.subTest(query):
                self.refused("/listing/ftplog?" + query, 400, "the query cannot be read")
        for listing in ("", "ftp", "table-clear", "ftplog/", "ftplog%20", "../ftplog", "FTPLOG", "worker-add"):
            with self.subTest(listing):
                self.refused("/listing/" + listing, 404, "no such listing")
        self.assertEqual(self.calls(), [])

    def test_other_sites_are_refused(self):
        for host in ("example.org", f"example.org:{self.port}", "127.0.0.1", f"127.0.0.1:{self.port}.example.org", ""):
            with self.subTest(host):
                self.refused("/listing/ftplog", 403, "this server answers to 127.0.0.1 alone", Host=host)
        for site in ("cross-site", "same-site"):
            self.refused("/listing/ftplog", 403, "another site's page may not ask here", Sec_Fetch_Site=site)
        self.assertEqual(self.calls(), [])
        self.assertEqual(self.ask("/listing/ftplog", Host=f"localhost:{self.port}", Sec_Fetch_Site="same-origin")[0], 200)

    def test_only_this_machine_is_listened_to(self):
        with self.assertRaises(OSError):  # an address of this machine as well, but not that one
            socket.create_connection(("127.0.0.2", self.port), timeout=5)

    def test_the_page_s_files_and_no_others(self):
        for path, kind, begins in (("/", "text/html; charset=utf-8", b"<!DOCTYPE html>"),
                                   ("/page.js", "text/javascript; charset=utf-8", b"// The page"),
                                   ("/qsvmon.js", "text/javascript; charset=utf-8", b"// Decodes"),
                                   ("/style.css", "text/css; charset=utf-8", b":root"),
                                   ("/?x", "text/html; charset=utf-8", b"<!DOCTYPE html>")):
            status, headers, body = self.ask(path)
            self.assertEqual((status, headers["Content-Type"]), (200, kind), path)
            self.assertTrue(body.startswith(begins), path)
        for path in ("/serve.py", "/index.html", "/../serve.py", "/%2e%2e/serve.py", "//etc/passwd", "/page.js/",
                     "/listing", "*"):
            self.refused(path, 404, "no such page")

    def test_every_answer_is_locked_down(self):
        for path in ("/", "/page.js", "/listing/ftplog", "/listing/ftplog?x=1", "/nothing", "/favicon.ico"):
            with self.subTest(path):
                _, headers, _ = self.ask(path)
                policy = dict(part.split(" ", 1) for part in headers["Content-Security-Policy"].split("; "))
                self.assertEqual(policy, {
                    "default-src": "'none'", "script-src": "'self'", "style-src": "'self'",
                    "connect-src": "'self'", "base-uri": "'none'", "form-action": "'none'",
                    "frame-ancestors": "'none'", "require-trusted-types-for": "'script'"})
                self.assertEqual(headers["X-Content-Type-Options"], "nosniff")
                self.assertEqual(headers["Cache-Control"], "no-store")
                self.assertIsNone(headers["Access-Control-Allow-Origin"])

    def test_other_methods_are_refused(self):
        for method in ("POST", "PUT", "DELETE", "HEAD", "OPTIONS"):
            with self.subTest(method):
                status, headers, _ = self.ask("/listing/ftplog", method=method)
                self.assertEqual(status, 501)
                self.assertIn("Content-Security-Policy", headers)
        self.assertEqual(self.calls(), [])

    def test_a_failure_of_unreadable_bytes(self):
        self.then("printf 'NO\\377'; exit 3")
        self.refused("/listing/ftplog", 502, "NO\u00ff", 3)

    def test_a_long_failure_is_cut(self):
        self.then("head -c 5000 /dev/zero | tr '\\0' x; exit 255")
        self.refused("/listing/ftplog", 502, "x" * 2000, 255)

    def test_a_program_that_is_not_there(self):
        self.program.unlink()
        self.refused("/listing/ftplog", 500, "qsvmon cannot be run: No such file or directory")


class Limits(ServerTest):
    def fake(self, text, **more):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        program = pathlib.Path(scratch.name) / "fake"
        program.write_text("#!/bin/sh\n" + text)
        program.chmod(0o755)
        self.served(str(program), scratch.name, **more)
        return pathlib.Path(scratch.name)

    def test_a_late_program_is_asked_to_end(self):
        folder = self.fake("trap 'echo told >told; exit 1' TERM\nwhile :; do sleep 0.05; done\n", seconds=0.5)
        self.refused("/listing/ftplog", 504, "no answer within 0.5 seconds")
        self.assertEqual((folder / "told").read_text(), "told\n")

    def test_an_endless_answer_is_ended(self):
        self.fake("exec yes\n")
        before, serve.MOST_BYTES = serve.MOST_BYTES, 1000000
        try:
            self.refused("/listing/ftplog", 502, "the answer is too long")
        finally:
            serve.MOST_BYTES = before

    def test_a_few_programs_run_at_once(self):
        folder = self.fake("echo + >>runs; sleep 0.3; echo - >>runs\n")
        with concurrent.futures.ThreadPoolExecutor(12) as pool:
            found = list(pool.map(lambda _: self.ask("/listing/ftplog")[0], range(12)))
        self.assertEqual(found, [200] * 12)
        running = most = 0
        for mark in (folder / "runs").read_text().split():
            running += 1 if mark == "+" else -1
            most = max(most, running)
        self.assertEqual(running, 0)
        self.assertTrue(2 <= most <= 4, most)


class CommandLine(harness.unittest.TestCase):
    def test_prints_its_address_and_serves(self):
        server = subprocess.Popen([sys.executable, "-B", str(TOP / "examples/web/serve.py"), "--port", "0"],
                                  stdout=subprocess.PIPE, text=True)
        try:
            address = server.stdout.readline()
            self.assertRegex(address, r"^http://127\.0\.0\.1:\d+/\n$")
            connection = http.client.HTTPConnection(address.strip()[7:-1], timeout=30)
            connection.request("GET", "/")
            self.assertEqual(connection.getresponse().status, 200)
            connection.close()
        finally:
            server.terminate()
            server.wait()
            server.stdout.close()

    def test_a_client_that_goes_away_is_no_error(self):
        with tempfile.TemporaryDirectory() as scratch:
            program = pathlib.Path(scratch, "fake")
            program.write_text("#!/bin/sh\nsleep 0.3\nexec head -c 8000000 /dev/zero\n")
            program.chmod(0o755)
            server = subprocess.Popen(
                [sys.executable, "-B", str(TOP / "examples/web/serve.py"), "--port", "0", "--program", str(program),
                 "--folder", scratch], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
            port = int(server.stdout.readline().rsplit(":", 1)[1].strip("/\n"))
            gone = http.client.HTTPConnection("127.0.0.1", port, timeout=30)
            gone.request("GET", "/listing/ftplog")
            # Closing with this on resets the connection.
            gone.sock.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
            gone.close()
            # The same answer for one that stays comes later.
            stays = http.client.HTTPConnection("127.0.0.1", port, timeout=30)
            stays.request("GET", "/listing/ftplog")
            self.assertEqual(len(stays.getresponse().read()), 8000000)
            stays.close()
            server.terminate()
            _, said = server.communicate(timeout=60)
        self.assertEqual(said, "")

    def test_says_when_a_port_is_taken(self):
        with socket.socket() as taken:
            taken.bind(("127.0.0.1", 0))
            taken.listen()
            port = taken.getsockname()[1]
            run = subprocess.run([sys.executable, "-B", str(TOP / "examples/web/serve.py"), "--port",
                                  str(port)], capture_output=True, text=True, timeout=60)
        self.assertEqual((run.returncode, run.stdout), (1, ""))
        self.assertIn(f"cannot listen on 127.0.0.1, port {port}", run.stderr)


class Demo(harness.unittest.TestCase):
    """./demo --web in a tree whose programs are built already."""

    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.tree, self.scratch = pathlib.Path(scratch.name, "tree"), pathlib.Path(scratch.name, "tmp")
        for folder in ("build-demo/sim", "tools", "bin"):
            (self.tree / folder).mkdir(parents=True)
        self.scratch.mkdir()
        shutil.copy(TOP / "demo", self.tree)
        (self.tree / "examples").symlink_to(TOP / "examples")
        for name, program in (("qsvmon-here", harness.CLIENT), ("sim/qsvsim", harness.SIMULATOR)):
            (self.tree / "build-demo" / name).symlink_to(program)
        for tool in (TOP / "tools").iterdir():
            if tool.name != "need":
                (self.tree / "tools" / tool.name).symlink_to(tool)
        for tool in ("tools/need", "bin/cmake"):
            (self.tree / tool).write_text("#!/bin/sh\n")
            (self.tree / tool).chmod(0o755)

    def start(self, *words):
        environment = dict(os.environ, TMPDIR=str(self.scratch), PATH=f"{self.tree}/bin:{os.environ['PATH']}")
        # As from a terminal: a group of its own, which Ctrl-C reaches as a whole.
        return subprocess.Popen(["./demo", "--web", *words], cwd=self.tree, env=environment, text=True,
                                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                start_new_session=True, preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL))

    def expect_ended(self, pid):
        """Whoever inherited it may not have asked for its status yet: then it has no command line."""
        end = time.monotonic() + 30
        while time.monotonic() < end:
            try:
                if not pathlib.Path(f"/proc/{pid}/cmdline").read_bytes():
                    return
            except OSError:
                return
            time.sleep(0.05)
        self.fail("the simulated appliance is still there")

    def test_serves_until_it_is_interrupted(self):
        for how in (signal.SIGINT, signal.SIGTERM):
            with self.subTest(how=how), self.start("0") as demo:
                address = demo.stdout.readline().strip()
                self.assertRegex(address, r"^http://127\.0\.0\.1:\d+/$")
                connection = http.client.HTTPConnection(address[7:-1], timeout=30)
                connection.request("GET", "/listing/tcpreset-listip?row=1-1")
                answer = connection.getresponse()
                self.assertEqual((answer.status, answer.read()[:15]), (200, b'{"data":[{"ip":'))
                connection.close()
                simulator = int(next(self.scratch.glob("*/qsvsim.pid")).read_text())
                os.killpg(demo.pid, how)
                self.assertEqual(demo.wait(timeout=60), 0)
                self.assertEqual(list(self.scratch.iterdir()), [])
                self.expect_ended(simulator)

    def test_a_port_that_is_taken(self):
        with socket.socket() as taken:
            taken.bind(("127.0.0.1", 0))
            taken.listen()
            with self.start(str(taken.getsockname()[1])) as demo:
                self.assertEqual((demo.stdout.read(), demo.wait(timeout=60)), ("", 1))
        self.assertEqual(list(self.scratch.iterdir()), [])

    def test_too_many_words(self):
        with self.start("0", "more") as demo:
            self.assertEqual((demo.stdout.read(), demo.wait(timeout=60)), ("", 2))


if __name__ == "__main__":
    harness.main()
