"""rykel db export through LibreOffice: xls, passwords and a missing office."""
import csv
import os
import shutil
import subprocess
import unittest

from support import ScratchTest, ok, run

try:
    import msoffcrypto
except ImportError:
    msoffcrypto = None

OFFICE = shutil.which("soffice")


class DbExportOfficeTest(ScratchTest):
    def setUp(self):
        super().setUp()
        self.db = self.new_db("p.ry-dbb", "NAME:STRING", "PHONE:STRING", "AGE:LONG",
                              rows=[("NAME=Anna", "PHONE=0301", "AGE=3"), ("NAME=Jörg", "PHONE=+4969", "AGE=-12000")])

    def test_missing_office_fails_with_the_message(self):
        target = self.path("a.xls")
        r = run("db", "export", self.db, "--format", "xls", "--out", target, "--office", self.path("nothing"))
        self.assertEqual((r.returncode, "Excel konnte nicht gestartet werden!" in r.stderr, os.path.exists(target)),
                         (1, True, False), r.stderr)

    @unittest.skipIf(OFFICE is None, "LibreOffice Calc is not installed (scripts/setup installs libreoffice-calc-nogui)")
    @unittest.skipIf(msoffcrypto is None, "python3-msoffcrypto-tool is not installed")
    def test_xls_with_password(self):
        target = self.path("a.xls")
        self.assertEqual(ok("db", "export", self.db, "--format", "xls", "--out", target, "--password", "pw 1").stdout,
                         target + "\n")
        plain = self.path("plain.xls")
        with open(target, "rb") as f, open(plain, "wb") as g:
            office = msoffcrypto.OfficeFile(f)
            self.assertTrue(office.is_encrypted())
            office.load_key(password="pw 1")
            office.decrypt(g)
        # The decrypted file is an .xls the office reads back: header, text that keeps its
        # leading zero and "+", whole numbers.
        subprocess.run([OFFICE, "-env:UserInstallation=file://" + self.path("profile"), "--headless", "--convert-to",
                        "csv:Text - txt - csv (StarCalc):44,34,76,1,,0,false,true,false", "--outdir",
                        self.path("csv"), plain], check=True, capture_output=True, timeout=120,
                       env={k: v for k, v in os.environ.items() if k != "LD_PRELOAD"})  # no sanitizer runtime
        with open(self.path("csv/plain.csv"), encoding="utf-8", newline="") as f:
            rows = list(csv.reader(f))
        self.assertEqual(rows, [["NAME", "PHONE", "AGE"], ["Anna", "0301", "3"], ["Jörg", "+4969", "-12000"]])

