"""What the tests of the rykel program share: running it, and a scratch folder per test.
One file alone: python3 -m unittest discover -s tests/cli -p test_db.py (RYKEL_CLI names the program)."""
import os
import subprocess
import sys

sys.path.insert(0, os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
import scratch  # noqa: E402

CLI = os.environ.get("RYKEL_CLI", "rykel")
ROOT = os.path.normpath(os.path.join(os.path.dirname(__file__), "..", ".."))


def run(*args, stdin=None, **kw):
    """rykel with args, its output captured: text, or bytes when stdin is bytes; kw go to subprocess.run."""
    return subprocess.run([CLI, *args], capture_output=True, text=not isinstance(stdin, bytes), input=stdin, **kw)


def ok(*args, **kw):
    """rykel with args as run() runs it, which must succeed: a failure stops the test with its stderr."""
    r = run(*args, **kw)
    if r.returncode != 0:
        raise AssertionError("rykel %s: exit %d: %s" % (" ".join(map(str, args)), r.returncode, r.stderr))
    return r


class ScratchTest(scratch.ScratchTest):
    """A scratch folder (tests/scratch.py) that also makes databases."""

    def new_db(self, name, *fields, rows=()):
        """A new database in the folder with the fields given as "ID:TYPE" and an entry for each row
        of "FIELD=VALUE" texts; its path."""
        ok("db", "new", self.path(name), *sum((["--field", f] for f in fields), []))
        for row in rows:
            ok("db", "add", self.path(name), *row)
        return self.path(name)
