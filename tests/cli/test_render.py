"""rykel render: files and -e text, directories, variables, settings, the error list and exit status."""
import os
import subprocess
import tempfile
import unittest

CLI = os.environ.get("RYKEL_CLI", "rykel")


def render(*args, stdin=None):
    return subprocess.run([CLI, "render", *args], capture_output=True, text=True, input=stdin)


class TestRender(unittest.TestCase):
    def test_expression_variables_settings(self):
        r = render("-e", "{VAR:name} hat {(n * 2)} Äpfel", "-v", "name=Anna", "-v", "n=3")
        self.assertEqual((r.returncode, r.stdout), (0, "Anna hat 6 Äpfel"))
        many = "{COMMENT}" * 101 + "x"
        self.assertEqual(render("-e", many).stdout, "")
        self.assertEqual(render("-e", many, "-s", "SYS.COMMANDS.MAX=500").stdout, "x")

    def test_errors_and_status(self):
        r = render("-e", "a\n {VAR:nope}")
        self.assertEqual(r.returncode, 1)
        self.assertEqual(r.stdout, "a\n ERR:---VAR not found: nope---")
        self.assertEqual(r.stderr, "")
        r = render("-e", "a\n {VAR:nope}", "--errors")
        self.assertEqual(r.returncode, 1)
        self.assertEqual(r.stderr.strip(), "<text>:2:2: <b>VAR not found</b>: nope<br/>")

    def test_file_and_directories(self):
        with tempfile.TemporaryDirectory() as d, tempfile.TemporaryDirectory() as lib:
            os.makedirs(os.path.join(lib, "inc"))
            with open(os.path.join(lib, "inc", "foot.kel"), "w") as f:
                f.write("[{VAR:who}]")
            with open(os.path.join(d, "head.kel"), "w") as f:
                f.write("<h>")
            page = os.path.join(d, "page.kel")
            with open(page, "w") as f:
                f.write("{INCLUDE head}body{INCLUDE foot}")
            r = render(page, "-d", lib, "-v", "who=me")
            self.assertEqual((r.returncode, r.stdout), (0, "<h>body[me]"))
            r = render(page, "--errors")
            self.assertEqual(r.returncode, 1)
            self.assertEqual(r.stdout, "<h>body")
            self.assertIn("Could not include 'foot'", r.stderr)
            self.assertIn(page + ":1:", r.stderr)  # the main template's place names its file
            self.assertEqual(render("-", stdin="{VAR x 1}{VAR:x}").stdout, "1")

    def test_usage_errors(self):
        self.assertNotEqual(render().returncode, 0)
        self.assertNotEqual(render("-e", "x", "-v", "novalue").returncode, 0)
        self.assertNotEqual(render("/nonexistent/file.kel").returncode, 0)


if __name__ == "__main__":
    unittest.main()
