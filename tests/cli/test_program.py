import os
import subprocess
import unittest

CLI = os.environ.get("RYKEL_CLI", "rykel")


def run(*args):
    return subprocess.run([CLI, *args], capture_output=True, text=True)


class Program(unittest.TestCase):
    def test_help_version_and_classes(self):
        r = run("--help")
        self.assertEqual(r.returncode, 0)
        self.assertIn("struct", r.stdout)
        self.assertRegex(run("--version").stdout, r"^rykel \d+\.\d+\.\d+")
        classes = run("classes").stdout.split()
        self.assertIn("RyKEL.cls_Structure", classes)
        self.assertNotEqual(run().returncode, 0)  # a sub-command is required
        self.assertNotEqual(run("nonsense").returncode, 0)

    def test_struct_set_prints_the_tree(self):
        r = run("struct", "set", "person.name=Anna", "person.age=34", "x=1,5")
        self.assertEqual(r.returncode, 0, r.stderr)
        self.assertEqual(r.stdout, "PERSON {\n  NAME = Anna\n  AGE = 34\n}\nX = 1,5\n")
        self.assertNotEqual(run("struct", "set", "novalue").returncode, 0)


if __name__ == "__main__":
    unittest.main()
