import os
import subprocess
import tempfile
import unittest

CLI = os.environ.get("RYKEL_CLI", "rykel")


def run(*args):
    return subprocess.run([CLI, *args], capture_output=True, text=True)


class QueryCommandTest(unittest.TestCase):
    def setUp(self):
        self.dir = tempfile.TemporaryDirectory()
        self.addCleanup(self.dir.cleanup)
        self.db = os.path.join(self.dir.name, "people.ry-dbb")
        r = run("db", "new", self.db, "--field", "NAME:STRING", "--field", "AGE:LONG")
        self.assertEqual(r.returncode, 0, r.stderr)
        for name, age in (("Meier", "40"), ("meier", "12"), ("Müller", "40")):
            self.assertEqual(run("db", "add", self.db, "NAME=" + name, "AGE=" + age).returncode, 0)

    def test_query_filter_search_sort(self):
        self.assertEqual(run("db", "query", self.db, "NAME", "$BEGINS me").stdout, "1\n2\n")
        self.assertEqual(run("db", "query", self.db, "AGE", ">= 20", "--show").stdout,
                         "ID\tNAME\tAGE\n1\tMeier\t40\n3\tMüller\t40\n")
        self.assertEqual(run("db", "filter", self.db, "AGE=40", "NAME=müller").stdout, "3\n")
        self.assertEqual(run("db", "filter", self.db, "AGE=12", "NAME=müller", "--or", "--sort", "AGE").stdout,
                         "2\n3\n")
        self.assertEqual(run("db", "search", self.db, "meier | müller -40").stdout, "1\n2\n")
        self.assertEqual(run("db", "sort", self.db, "AGE", "--rev", "--then", "NAME").stdout, "1\n3\n2\n")
        r = run("db", "filter", self.db, "AGE")
        self.assertNotEqual(r.returncode, 0)
        for cmd in ("query", "filter", "search", "sort"):
            self.assertIn("--show", run("db", cmd, "--help").stdout)


if __name__ == "__main__":
    unittest.main()
