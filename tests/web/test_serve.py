"""rykel serve over HTTP: pages, variables, files, paths that lead out, limits, the error overlay,
live reload, bad requests and a clean stop."""
import http.client
import os
import re
import signal
import socket
import subprocess
import time
import unittest

import rykel
import support
from support import CLI, ServeTest


class ServeTestCase(ServeTest):
    extra_args = ("--request-max", "1000")

    def test_pages_variables_and_files(self):
        for path, status, ctype, needle in (
            ("/", 200, "text/html; charset=utf-8", b"<h1>Start</h1><footer>fuss</footer>"),
            ("/team", 200, "text/html; charset=utf-8", b"team index"),
            # raw when output by VAR:, escaped through TEXT:HTML
            ("/hello?name=%3Cb%3EAnna", 200, "text/html; charset=utf-8", b"Hallo <b>Anna, &lt;b&gt;Anna"),
            ("/app.css", 200, "text/css; charset=utf-8", b"body { color: red }"),
            ("/img/dot.png", 200, "image/png", b"PNG"),
            ("/docs/", 200, "text/html; charset=utf-8", b"<p>docs</p>"),
            ("/notes.txt", 200, "text/plain; charset=utf-8", b"plain notes"),
            ("/site.css", 200, "text/css; charset=utf-8", b"h1 {}"),
        ):
            with self.subTest(path=path):
                got = self.get(path)
                self.assertEqual(got[:2], (status, ctype), got[2][:300])
                self.assertIn(needle, got[2])
        # the page carries the reload script before </body>; files are sent as they are
        body = self.get("/")[2]
        self.assertRegex(body, rb'<script id="rykel-reload">.*since=\d+.*</script>\n</body></html>$')
        self.assertEqual(self.get("/app.css")[2], b"body { color: red }")
        # a large file is sent from the open file piece by piece, every byte as it is
        big = os.urandom(3 * 1024 * 1024 + 7)
        with open(os.path.join(self.site, "static", "big.bin"), "wb") as f:
            f.write(big)
        self.assertTrue(self.get("/big.bin")[2] == big)

    def test_nothing_outside_the_site_or_hidden_is_served(self):
        outside = os.path.relpath(self.outside, "/")
        for path in ("/../outside.txt", "/%2e%2e/outside.txt", "/%2E%2E/%2e%2e/" + outside, "/static/..%2f..%2foutside.txt",
                     "/..%5c..%5coutside.txt", "//" + outside, "/%2F" + outside, "/link.txt", "/up/outside.txt",
                     "/app.css%00.png", "/hello%00", "/.hidden", "/data/secret.json", "/inc/footer",
                     "/pages/hello.kel", "/hello.kel", "/static/app.css", "/nope", "/nope/"):
            with self.subTest(path=path):
                status, ctype, body = self.get(path)
                self.assertEqual((status, ctype), (404, "text/html; charset=utf-8"))
                self.assertIn(b"404 Not Found", body)
                self.assertNotIn(b"TOPSECRET", body)
        # "No page or file at /nope.", escaped
        self.assertIn(b"No page or file at /&lt;x&gt;.", self.get("/%3Cx%3E")[2])

    def test_limits_and_bad_requests_leave_the_server_answering(self):
        self.assertEqual(self.get("/", method="POST", body=b"x" * 2000)[0], 413)
        # a body without a length is refused at once, not waited for until the read timeout
        with socket.create_connection(("127.0.0.1", self.port), timeout=5) as s:
            s.sendall(b"POST / HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n")
            self.assertTrue(s.recv(65536).startswith(b"HTTP/1.1 411 "))
        for raw in (b"GARBAGE\r\n\r\n", b"GET / HTTP/1.1\r\nHost: x\r\nContent-Length: -5\r\n\r\n",
                    b"GET /" + b"a" * 20000 + b" HTTP/1.1\r\n\r\n", b"GET / HTTP/1.1\r\n" + b"X: y\r\n" * 200 + b"\r\n",
                    b"\x00\xff\xfe\r\n\r\n", b"GET / HTTP/1.1\r\nHost: x\r\nContent-Length: 10\r\n\r\nabc"):
            with self.subTest(raw=raw[:30]):
                with socket.create_connection(("127.0.0.1", self.port), timeout=10) as s:
                    s.sendall(raw)
                    s.shutdown(socket.SHUT_WR)
                    s.recv(65536)
        # a name pointed at 127.0.0.1 by someone else (DNS rebinding) is not answered
        for host, status in (("evil.example", 403), ("evil.example:80", 403), ("LOCALHOST:1", 200), ("[::1]:8", 200)):
            self.assertEqual(self.get("/team", headers={"Host": host})[0], status, host)
        self.assertEqual(self.get("/team")[0], 200)
        self.assertIsNone(self.proc.poll())
        self.assertRegex(self.log_text(), r"POST / 413 \d+ ms\n")

    def test_overlay_with_the_line_and_the_log_once(self):
        status, _, body = self.get("/bad")
        self.assertEqual(status, 200)
        text = body.decode()
        # the normal output, then the overlay with the place, the message and the escaped line
        for part in ("<p>one</p>\n<p>two</p>\n<p><b>ERR:", '<div id="rykel-overlay"',
                     '<span class="rykel-where" style="color:#8ab4f8">pages/bad.kel:3:7</span>', "IF requires 2 or 3 parameters",
                     "&lt;p&gt;&lt;b&gt;{IF (1 == 1)}&lt;/b&gt;&lt;/p&gt;\n<span style=\"color:#e5484d\">      ^</span>"):
            self.assertIn(part, text)
        self.assertLess(text.index("rykel-overlay"), text.index("rykel-reload"))
        self.get("/bad")
        log = self.log_text()
        self.assertEqual((log.count("pages/bad.kel:3:7: IF requires"), "    <p><b>{IF (1 == 1)}</b></p>\n          ^\n" in log),
                         (1, True), log)
        # a template that loops hits the interpreter's limit: 500, the overlay names it
        status, _, body = self.get("/loop")
        self.assertEqual((status, b"pages/loop.kel:1:1</span>: <span class=\"rykel-message\">Loop limit reached" in body),
                         (500, True))

    def test_a_change_sends_the_reload_event(self):
        since = re.search(rb"since=(\d+)", self.get("/team")[2]).group(1).decode()
        c = http.client.HTTPConnection("127.0.0.1", self.port, timeout=20)
        c.request("GET", "/_rykel/events?since=" + since)
        r = c.getresponse()
        self.assertEqual((r.status, r.getheader("Content-Type")), (200, "text/event-stream"))
        self.assertEqual(r.readline(), b"retry: 1000\n")
        time.sleep(0.5)
        with open(os.path.join(self.site, "pages", "team", "index.kel"), "a") as f:
            f.write("<p>edited</p>")
        lines = [r.readline() for _ in range(3)]
        c.close()
        self.assertEqual(lines[1], b"event: reload\n", lines)
        self.assertIn(b"edited", self.get("/team")[2])
        # a listener that asks since an older generation is told at once
        c = http.client.HTTPConnection("127.0.0.1", self.port, timeout=5)
        c.request("GET", "/_rykel/events?since=" + since)
        self.assertIn(b"event: reload", c.getresponse().read())
        c.close()


class ServeProcessTest(unittest.TestCase):
    def test_signals_stop_it_with_a_listener_open_and_start_errors(self):
        with support.tempfile.TemporaryDirectory() as tmp:
            support.make_site(tmp, {"pages/index.kel": "Hallo {VAR:name}"})
            for sig in (signal.SIGINT, signal.SIGTERM):
                with open(os.path.join(tmp, "log"), "w+") as log:
                    p, port = support.serve("-d", tmp, stderr=log)
                    c = http.client.HTTPConnection("127.0.0.1", port, timeout=20)
                    c.request("GET", "/_rykel/events")
                    self.assertEqual(c.getresponse().readline(), b"retry: 1000\n")
                    started = time.monotonic()
                    p.send_signal(sig)
                    self.assertEqual(p.wait(timeout=20), 0)
                    self.assertLess(time.monotonic() - started, 10)
                    c.close()
                    log.seek(0)
                    self.assertTrue(log.read().endswith("Stopped.\n"))
            # a database kept outside the site reloads the pages when another program changes it
            with support.tempfile.TemporaryDirectory() as elsewhere:
                db = os.path.join(elsewhere, "k.ry-dbb")
                subprocess.run([CLI, "db", "new", db, "--field", "A:STRING"], check=True, capture_output=True)
                p, port = support.serve("-d", tmp, "--db", db)
                c = http.client.HTTPConnection("127.0.0.1", port, timeout=20)
                c.request("GET", "/_rykel/events?since=0")
                r = c.getresponse()
                subprocess.run([CLI, "db", "add", db, "A=x"], check=True, capture_output=True)
                self.assertEqual([r.readline() for _ in range(3)][2], b"event: reload\n")
                c.close()
                p.terminate()
                p.wait()
            with rykel.cls_SiteServer(rykel.cls_Site(tmp), pLog=False) as server:
                self.assertEqual(support.fetch(server.PORT(), "/?name=Ada")[2][:9], b"Hallo Ada")
                for args, message in ((["-d", tmp, "--port", str(server.PORT())], f"cannot listen on 127.0.0.1:{server.PORT()}"),
                                      (["-d", os.path.join(tmp, "pages")], "is no site"),
                                      (["-d", tmp, "--db", "nope.ry-dbb"], "DB file 'nope.ry-dbb' does not exist")):
                    r = subprocess.run([CLI, "serve", *args], capture_output=True, text=True, timeout=20)
                    self.assertEqual((r.returncode, message in r.stderr), (1, True), r.stderr)
            self.assertFalse(server.RUNNING())


if __name__ == "__main__":
    unittest.main()
