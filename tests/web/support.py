"""What the web tests share: a scratch site, a running `rykel serve` on a free port, requests."""
import http.client
import os
import re
import subprocess
import tempfile
import time
import unittest

CLI = os.environ.get("RYKEL_CLI", "rykel")
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
CHROMIUM, DRIVER = "/usr/bin/chromium", "/usr/bin/chromedriver"

try:
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service
    from selenium.common.exceptions import NoSuchElementException, StaleElementReferenceException
    from selenium.webdriver.support.ui import WebDriverWait
except ImportError:
    webdriver = None


def no_browser():
    """Why the real-browser tests cannot run here, or None."""
    if webdriver is None:
        return "python3-selenium is not installed"
    for path in (CHROMIUM, DRIVER):
        if not os.access(path, os.X_OK):
            return path + " is not installed (scripts/setup installs chromium and chromium-driver)"
    return None


def browser(size="1200,800"):
    """Headless Chromium through its driver, with a window of SIZE pixels."""
    options = webdriver.ChromeOptions()
    options.binary_location = CHROMIUM
    for arg in ("--headless=new", "--no-sandbox", "--disable-dev-shm-usage", "--window-size=" + size):
        options.add_argument(arg)
    # the sanitizer build preloads its runtime into every program the tests start; not the browser
    env = {k: v for k, v in os.environ.items() if k != "LD_PRELOAD"}
    return webdriver.Chrome(service=Service(DRIVER, env=env), options=options)


def waiter(driver, seconds=20):
    """A wait that retries while a reload replaces the page under it: an element found just before
    the reload is stale a moment later, and the new page may not have it yet."""
    return WebDriverWait(driver, seconds,
                         ignored_exceptions=(NoSuchElementException, StaleElementReferenceException))

PAGES = {
    "pages/index.kel": "<html><body><h1>Start</h1>{INCLUDE inc/footer}</body></html>",
    "pages/team/index.kel": "<p>team index</p>",
    "pages/hello.kel": "<p>Hallo {VAR:name}, {TEXT:HTML VAR:name}</p>",
    "pages/bad.kel": "<p>one</p>\n<p>two</p>\n<p><b>{IF (1 == 1)}</b></p>\n",
    "pages/loop.kel": "{WHILE (1 == 1) {x}}",
    "pages/notes.txt": "plain notes",
    "inc/footer.kel": "<footer>fuss</footer>",
    "static/app.css": "body { color: red }",
    "static/img/dot.png": "\x89PNG",
    "static/docs/index.html": "<p>docs</p>",
    "site.css": "h1 {}",
    "data/secret.json": '{"A": 1}',
    ".hidden": "hidden",
}


def make_site(root, files=PAGES):
    for name, text in files.items():
        path = os.path.join(root, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="latin-1") as f:
            f.write(text)


def serve(*args, stderr=subprocess.DEVNULL):
    """`rykel serve --port 0 ARGS` started: (process, port), after checking its start line."""
    proc = subprocess.Popen([CLI, "serve", "--port", "0", *args], stdout=subprocess.PIPE, stderr=stderr, text=True)
    line = proc.stdout.readline()
    proc.stdout.close()
    m = re.fullmatch(r"Serving (.*) at http://127\.0\.0\.1:(\d+)/\n", line)
    if not m:
        proc.kill()
        raise AssertionError("no start line: " + repr(line))
    return proc, int(m.group(2))


def fetch(port, path, method="GET", body=None, headers=None):
    """(status, content type, body as bytes) of one request."""
    c = http.client.HTTPConnection("127.0.0.1", port, timeout=10)
    try:
        c.request(method, path, body=body, headers=headers or {})
        r = c.getresponse()
        return r.status, r.getheader("Content-Type"), r.read()
    finally:
        c.close()


class ServeTest(unittest.TestCase):
    """A scratch site (self.site) served by `rykel serve --port 0` for the whole class; the log goes
    to a file (self.log_text() reads it)."""

    extra_args = ()

    @classmethod
    def setUpClass(cls):
        cls.tmp = tempfile.TemporaryDirectory()
        cls.site = os.path.join(cls.tmp.name, "site")
        make_site(cls.site)
        cls.outside = os.path.join(cls.tmp.name, "outside.txt")
        with open(cls.outside, "w") as f:
            f.write("TOPSECRET")
        os.symlink(cls.outside, os.path.join(cls.site, "static", "link.txt"))
        os.symlink(os.path.dirname(cls.outside), os.path.join(cls.site, "static", "up"))
        cls.log = open(os.path.join(cls.tmp.name, "log"), "w+")
        cls.proc, cls.port = serve("-d", cls.site, *cls.extra_args, stderr=cls.log)

    @classmethod
    def tearDownClass(cls):
        if cls.proc.poll() is None:
            cls.proc.kill()
            cls.proc.wait()
        cls.log.close()
        cls.tmp.cleanup()

    def get(self, path, method="GET", body=None, headers=None):
        return fetch(self.port, path, method, body, headers)

    def log_text(self, settle=0.2):
        time.sleep(settle)
        self.log.flush()
        with open(self.log.name, encoding="utf-8", errors="replace") as f:
            return f.read()
