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
