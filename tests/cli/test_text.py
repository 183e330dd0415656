"""rykel render --autoescape, and `rykel help kel` showing the guide that opens docs/KEL.md."""
import os
import subprocess
import unittest

CLI = os.environ.get("RYKEL_CLI", "rykel")
ROOT = os.path.normpath(os.path.join(os.path.dirname(__file__), "..", ".."))


def run(*args):
    return subprocess.run([CLI, *args], capture_output=True, text=True, cwd=ROOT)


class TestText(unittest.TestCase):
    def test_render_autoescape(self):
        page = "{VAR:x}|{TEXT:RAW VAR:x}|{TEXT:FORMAT 1234.5 '#,##0.00'}"
        r = run("render", "-e", page, "-v", "x=<b>&</b>")
        self.assertEqual((r.returncode, r.stdout), (0, "<b>&</b>|<b>&</b>|1.234,50"))
        r = run("render", "--autoescape", "-e", page, "-v", "x=<b>&</b>")
        self.assertEqual((r.returncode, r.stdout), (0, "&lt;b&gt;&amp;&lt;/b&gt;|<b>&</b>|1.234,50"))
        r = run("render", "-e", page, "-v", "x=<b>", "-s", "SYS.AUTOESCAPE=1", "-s", "SYS.LOCALE=en")
        self.assertEqual(r.stdout, "&lt;b&gt;|<b>|1,234.50")

    def test_help_kel_shows_the_guide_of_the_document(self):
        with open(os.path.join(ROOT, "docs", "KEL.md"), encoding="utf-8") as f:
            doc = f.read()
        begin, end = "<!-- help kel: begin -->\n", "<!-- help kel: end -->"
        guide = doc[doc.index(begin) + len(begin):doc.index(end)]
        self.assertIn("## Read this first", guide)
        self.assertIn("## Cheat sheet", guide)
        r = run("help", "kel")
        self.assertEqual(r.returncode, 0)
        self.assertTrue(r.stdout.startswith("KEL templates\n\n"))
        self.assertTrue(r.stdout.endswith("\n" + guide), "rebuild: the program embeds docs/KEL.md")


if __name__ == "__main__":
    unittest.main()
