import csv
import os
import shutil
import subprocess
import unittest

from support import CLI, ScratchTest, ok, run


class DbExportCommandTest(ScratchTest):
    def setUp(self):
        super().setUp()
        self.db = self.new_db("p.ry-dbb", "NAME:STRING", "CITY:STRING", "AGE:LONG",
                              rows=[("NAME=" + n, "CITY=" + c, "AGE=3") for n, c in
                                    (("Anna", "Berlin"), ("Bernd", "Köln"), ("Clara", "Berlin"))])

    def test_every_format(self):
        for fmt, name, magic in (("xlsx", "a.xlsx", b"PK"), ("htm", "a.htm", b"<html"), ("pdf", "a.pdf", b"%PDF"),
                                 ("bat", "a.bat", b"@ECHO OFF"), ("db", "copy.ry-dbb", None)):
            r = ok("db", "export", self.db, "--format", fmt, "--out", self.path(name), "--title", "Liste")
            # no progress bar when stderr is not a terminal
            self.assertEqual((r.stdout, "[" in r.stderr), (self.path(name) + "\n", False), r.stderr)
            if magic:
                with open(self.path(name), "rb") as f:
                    self.assertEqual(f.read(len(magic)), magic)
        self.assertEqual(run("db", "show", self.path("copy.ry-dbb")).stdout, run("db", "show", self.db).stdout)

    def test_batch_names_a_batch_line_cannot_quote_are_refused(self):
        # every such character is tried in cls_DBExport_test.cpp; here the program's answer
        r = run("db", "export", self.db, "--format", "bat", "--out", self.path("a&calc.bat"))
        self.assertTrue(r.returncode != 0 and "holds a character a batch file cannot quote" in r.stderr, r.stderr)
        self.assertFalse(os.path.exists(self.path("a&calc.bat")) or os.path.exists(self.path("Data")))

    @unittest.skipUnless(shutil.which("soffice"), "LibreOffice Calc is not installed")
    def test_formula_like_text_stays_text_in_a_spreadsheet(self):
        texts = ("=1+1", "+2+3", "-4+5", "@SUM(1)")
        for text in texts:
            ok("db", "add", self.db, "NAME=" + text, "CITY=x", "AGE=-7")
        out = self.path("f.htm")
        ok("db", "export", self.db, "--format", "htm", "--out", out)
        profile = self.path("profile")
        subprocess.run(["soffice", "-env:UserInstallation=file://" + profile, "--headless", "--infilter=HTML (StarCalc)",
                        "--convert-to", "csv", "--outdir", self.dir.name, out], check=True, capture_output=True,
                       timeout=120, env={k: v for k, v in os.environ.items() if k != "LD_PRELOAD"})
        with open(self.path("f.csv"), encoding="cp1252", newline="") as f:
            rows = list(csv.reader(f))
        self.assertEqual([r[0] for r in rows if r and r[0] in texts], list(texts))  # shown, not computed
        self.assertIn("-7", [r[2] for r in rows if r and r[0] == "=1+1"][0])  # numbers stay numbers

    def test_filter_and_sort(self):
        # --where, --sort and --rev alone: test_export_data.py
        out = self.path("f.htm")
        ok("db", "export", self.db, "--format", "htm", "--out", out, "--where", "CITY=Köln", "--where", "NAME=Anna", "--or")
        with open(out, encoding="cp1252") as f:
            text = f.read()
        self.assertEqual([">Bernd<" in text, ">Anna<" in text, ">Clara<" in text], [True, True, False])
        self.assertNotEqual(run("db", "export", self.db, "--out", out, "--where", "nocondition").returncode, 0)

    def test_progress_bar_on_a_terminal(self):
        master, slave = os.openpty()
        try:
            r = subprocess.run([CLI, "db", "export", self.db, "--format", "htm", "--out", self.path("t.htm")],
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
        self.assertEqual((r.returncode, b"100% 3/3" in shown, b"[" + b"#" * 30 + b"]" in shown), (0, True, True), shown)

    def test_sheets_by_and_bad_arguments(self):
        ok("db", "export", self.db, "--out", self.path("s.xlsx"), "--sheets-by", "CITY")
        try:
            import openpyxl
        except ImportError:
            openpyxl = None
        if openpyxl:
            self.assertEqual(openpyxl.load_workbook(self.path("s.xlsx")).sheetnames, ["Alle", "Berlin", "Köln"])
        for bad in (("--sheets-by", "NOPE"), ("--format", "xml"), ("--view", "9")):
            self.assertNotEqual(run("db", "export", self.db, "--out", self.path("x"), *bad).returncode, 0, bad)

