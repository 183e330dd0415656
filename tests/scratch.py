"""The scratch folder the Python-driven suites share (tests/python and tests/cli import it through
their support.py): a fresh folder per test, removed with everything in it when the test ends."""
import os
import tempfile
import unittest


class ScratchTest(unittest.TestCase):
    """A test with a fresh folder of its own; path(name) is a file in it."""

    def setUp(self):
        self.dir = tempfile.TemporaryDirectory()
        self.addCleanup(self.dir.cleanup)

    def path(self, *names):
        return os.path.join(self.dir.name, *names)

    def write(self, name, data):
        """A file in the folder (its folders made) holding data (text as UTF-8, or bytes); its path."""
        path = self.path(name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as f:
            f.write(data if isinstance(data, bytes) else data.encode())
        return path
