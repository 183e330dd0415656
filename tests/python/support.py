"""Helpers shared by the Python module's tests."""
import os
import tempfile
import unittest


class ScratchTest(unittest.TestCase):
    """A test with a fresh folder of its own; path(name) is a file in it."""

    def setUp(self):
        self.dir = tempfile.TemporaryDirectory()
        self.addCleanup(self.dir.cleanup)

    def path(self, name):
        return os.path.join(self.dir.name, name)

    def write(self, name, text):
        """A file in the folder holding text (UTF-8); its path."""
        with open(self.path(name), "w", encoding="utf-8") as f:
            f.write(text)
        return self.path(name)
