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


class Render(unittest.TestCase):
    def test_site_with_structure_and_includes(self):
        root = os.path.join(os.path.dirname(__file__), "..", "..", "examples", "site")
        r = run("render", "--struct", "team=" + os.path.join(root, "data", "team.ser"), "-d", root,
                os.path.join(root, "pages", "index.kel"), "--errors")
        self.assertEqual(r.returncode, 0, r.stderr)
        self.assertIn("<title>Unser Team</title>", r.stdout)  # from inc/header.kel
        self.assertIn('<tr class="even"><td>Jörg Meier</td><td>Osnabrück</td>', r.stdout)
        self.assertIn("<p>5 Mitglieder - ein großes Team.</p>", r.stdout)
        broken = run("render", "-d", root, os.path.join(root, "pages", "broken.kel"), "--errors")
        self.assertEqual(broken.returncode, 1)
        self.assertIn("Could not include 'missing_page'", broken.stderr)
        self.assertIn(":4:4: <b>Cannot execute</b>: UNKNOWNCOMMAND 1 2", broken.stderr)
