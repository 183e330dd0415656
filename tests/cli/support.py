"""What the tests of the rykel program share: running it, and a scratch folder per test.
One file alone: python3 -m unittest discover -s tests/cli -p test_db.py (RYKEL_CLI names the program)."""
import os
import subprocess
import tempfile
import unittest

CLI = os.environ.get("RYKEL_CLI", "rykel")
ROOT = os.path.normpath(os.path.join(os.path.dirname(__file__), "..", ".."))


def run(*args, stdin=None, **kw):
    """rykel with args, its output captured: text, or bytes when stdin is bytes; kw go to subprocess.run."""
    return subprocess.run([CLI, *args], capture_output=True, text=not isinstance(stdin, bytes), input=stdin, **kw)


class ScratchTest(unittest.TestCase):
    """A test with a fresh folder of its own; path(name) is a file in it."""

    def setUp(self):
        self.dir = tempfile.TemporaryDirectory()
        self.addCleanup(self.dir.cleanup)

    def path(self, name):
        return os.path.join(self.dir.name, name)

    def write(self, name, data):
        """A file in the folder holding data (text as UTF-8, or bytes); its path."""
        path = self.path(name)
        with open(path, "wb") as f:
            f.write(data if isinstance(data, bytes) else data.encode())
        return path

    def new_db(self, name, *fields, rows=()):
        """A new database in the folder with the fields given as "ID:TYPE" and an entry for each row
        of "FIELD=VALUE" texts; its path."""
        r = run("db", "new", self.path(name), *sum((["--field", f] for f in fields), []))
        self.assertEqual(r.returncode, 0, r.stderr)
        for row in rows:
            r = run("db", "add", self.path(name), *row)
            self.assertEqual(r.returncode, 0, (row, r.stderr))
        return self.path(name)
