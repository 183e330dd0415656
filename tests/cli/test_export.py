import csv
import os
import shutil
import subprocess
import tempfile
import unittest

CLI = os.environ.get("RYKEL_CLI", "rykel")


def run(*args):
    return subprocess.run([CLI, *args], capture_output=True, text=True)


class DbExportCommandTest(unittest.TestCase):
    def setUp(self):
        self.dir = tempfile.TemporaryDirectory()
        self.addCleanup(self.dir.cleanup)
        self.db = os.path.join(self.dir.name, "p.ry-dbb")
        r = run("db", "new", self.db, "--field", "NAME:STRING", "--field", "CITY:STRING", "--field", "AGE:LONG")
        self.assertEqual(r.returncode, 0, r.stderr)
        for name, city in (("Anna", "Berlin"), ("Bernd", "Köln"), ("Clara", "Berlin")):
            self.assertEqual(run("db", "add", self.db, "NAME=" + name, "CITY=" + city, "AGE=3").returncode, 0)

    def out(self, name):
        return os.path.join(self.dir.name, name)

    def test_every_format(self):
        for fmt, name, magic in (("xlsx", "a.xlsx", b"PK"), ("htm", "a.htm", b"<html"), ("pdf", "a.pdf", b"%PDF"),
                                 ("bat", "a.bat", b"@ECHO OFF"), ("db", "copy.ry-dbb", None)):
            r = run("db", "export", self.db, "--format", fmt, "--out", self.out(name), "--title", "Liste")
            self.assertEqual(r.returncode, 0, r.stderr)
            self.assertEqual(r.stdout, self.out(name) + "\n")
            self.assertNotIn("[", r.stderr, "no progress bar when stderr is not a terminal")
            if magic:
                with open(self.out(name), "rb") as f:
                    self.assertEqual(f.read(len(magic)), magic)
        self.assertEqual(run("db", "show", self.out("copy.ry-dbb")).stdout, run("db", "show", self.db).stdout)

    def test_batch_names_a_batch_line_cannot_quote_are_refused(self):
        for name in ('a&calc.bat', 'a"b.bat', "50%.bat", "a|b.bat"):
            r = run("db", "export", self.db, "--format", "bat", "--out", self.out(name))
            self.assertNotEqual(r.returncode, 0, name)
            self.assertIn("holds a character a batch file cannot quote", r.stderr, name)
            self.assertFalse(os.path.exists(self.out(name)), name)
        self.assertFalse(os.path.exists(self.out("Data")))

    @unittest.skipUnless(shutil.which("soffice"), "LibreOffice Calc is not installed")
    def test_formula_like_text_stays_text_in_a_spreadsheet(self):
        texts = ("=1+1", "+2+3", "-4+5", "@SUM(1)")
        for text in texts:
            self.assertEqual(run("db", "add", self.db, "NAME=" + text, "CITY=x", "AGE=-7").returncode, 0)
        out = self.out("f.htm")
        self.assertEqual(run("db", "export", self.db, "--format", "htm", "--out", out).returncode, 0)
        profile = self.out("profile")
        subprocess.run(["soffice", "-env:UserInstallation=file://" + profile, "--headless", "--infilter=HTML (StarCalc)",
                        "--convert-to", "csv", "--outdir", self.dir.name, out], check=True, capture_output=True,
                       timeout=120, env={k: v for k, v in os.environ.items() if k != "LD_PRELOAD"})
        with open(self.out("f.csv"), encoding="cp1252", newline="") as f:
            rows = list(csv.reader(f))
        self.assertEqual([r[0] for r in rows if r and r[0] in texts], list(texts))  # shown, not computed
        self.assertIn("-7", [r[2] for r in rows if r and r[0] == "=1+1"][0])  # numbers stay numbers

    def test_filter_and_sort(self):
        out = self.out("f.htm")
        r = run("db", "export", self.db, "--format", "htm", "--out", out, "--where", "CITY=Berlin", "--sort", "NAME",
                "--rev")
        self.assertEqual(r.returncode, 0, r.stderr)
        with open(out, encoding="cp1252") as f:
            text = f.read()
        self.assertLess(text.index(">Clara<"), text.index(">Anna<"))  # descending by name
        self.assertNotIn("Bernd", text)
        r = run("db", "export", self.db, "--format", "htm", "--out", out, "--where", "CITY=Köln", "--where",
                "NAME=Anna", "--or")
        self.assertEqual(r.returncode, 0, r.stderr)
        with open(out, encoding="cp1252") as f:
            text = f.read()
        self.assertIn(">Bernd<", text)
        self.assertIn(">Anna<", text)
        self.assertNotIn(">Clara<", text)
        self.assertNotEqual(run("db", "export", self.db, "--out", out, "--where", "nocondition").returncode, 0)

    def test_progress_bar_on_a_terminal(self):
        master, slave = os.openpty()
        try:
            r = subprocess.run([CLI, "db", "export", self.db, "--format", "htm", "--out", self.out("t.htm")],
                               stdout=subprocess.PIPE, stderr=slave, text=True)
            os.close(slave)
            slave = None
            shown = b""
            while True:
                try:
                    chunk = os.read(master, 4096)
                except OSError:  # the terminal is closed once everything is read
                    break
                if not chunk:
                    break
                shown += chunk
        finally:
            if slave is not None:
                os.close(slave)
            os.close(master)
        self.assertEqual(r.returncode, 0)
        self.assertIn(b"100% 3/3", shown)
        self.assertIn(b"[" + b"#" * 30 + b"]", shown)

    def test_sheets_by_and_bad_arguments(self):
        r = run("db", "export", self.db, "--out", self.out("s.xlsx"), "--sheets-by", "CITY")
        self.assertEqual(r.returncode, 0, r.stderr)
        try:
            import openpyxl
        except ImportError:
            openpyxl = None
        if openpyxl:
            self.assertEqual(openpyxl.load_workbook(self.out("s.xlsx")).sheetnames, ["Alle", "Berlin", "Köln"])
        self.assertNotEqual(run("db", "export", self.db, "--out", self.out("x"), "--sheets-by", "NOPE").returncode, 0)
        self.assertNotEqual(run("db", "export", self.db, "--out", self.out("x"), "--format", "xml").returncode, 0)
        self.assertNotEqual(run("db", "export", self.db, "--out", self.out("x"), "--view", "9").returncode, 0)


if __name__ == "__main__":
    unittest.main()
