"""rykel db export through LibreOffice: xls, passwords and a missing office."""
import csv
import io
import os
import shutil
import subprocess
import tempfile
import unittest

try:
    import msoffcrypto
except ImportError:
    msoffcrypto = None

CLI = os.environ.get("RYKEL_CLI", "rykel")
OFFICE = shutil.which("soffice")


def run(*args):
    return subprocess.run([CLI, *args], capture_output=True, text=True)


class DbExportOfficeTest(unittest.TestCase):
    def setUp(self):
        self.dir = tempfile.TemporaryDirectory()
        self.addCleanup(self.dir.cleanup)
        self.db = self.out("p.ry-dbb")
        r = run("db", "new", self.db, "--field", "NAME:STRING", "--field", "PHONE:STRING", "--field", "AGE:LONG")
        self.assertEqual(r.returncode, 0, r.stderr)
        for name, phone, age in (("Anna", "0301", "3"), ("Jörg", "+4969", "-12000")):
            self.assertEqual(run("db", "add", self.db, "NAME=" + name, "PHONE=" + phone, "AGE=" + age).returncode, 0)

    def out(self, name):
        return os.path.join(self.dir.name, name)

    def test_missing_office_fails_with_the_message(self):
        target = self.out("a.xls")
        r = run("db", "export", self.db, "--format", "xls", "--out", target, "--office", self.out("nothing"))
        self.assertEqual(r.returncode, 1)
        self.assertIn("Excel konnte nicht gestartet werden!", r.stderr)
        self.assertFalse(os.path.exists(target))

    @unittest.skipIf(OFFICE is None, "LibreOffice Calc is not installed (scripts/setup installs libreoffice-calc-nogui)")
    @unittest.skipIf(msoffcrypto is None, "python3-msoffcrypto-tool is not installed")
    def test_xls_with_password(self):
        target = self.out("a.xls")
        r = run("db", "export", self.db, "--format", "xls", "--out", target, "--password", "pw 1")
        self.assertEqual(r.returncode, 0, r.stderr)
        self.assertEqual(r.stdout, target + "\n")
        plain = self.out("plain.xls")
        with open(target, "rb") as f, open(plain, "wb") as g:
            office = msoffcrypto.OfficeFile(f)
            self.assertTrue(office.is_encrypted())
            office.load_key(password="pw 1")
            office.decrypt(g)
        # The decrypted file is an .xls the office reads back: header, text that keeps its
        # leading zero and "+", whole numbers.
        subprocess.run([OFFICE, "-env:UserInstallation=file://" + self.out("profile"), "--headless", "--convert-to",
                        "csv:Text - txt - csv (StarCalc):44,34,76,1,,0,false,true,false", "--outdir",
                        self.out("csv"), plain], check=True, capture_output=True, timeout=120,
                       env={k: v for k, v in os.environ.items() if k != "LD_PRELOAD"})  # no sanitizer runtime
        with open(self.out("csv/plain.csv"), encoding="utf-8", newline="") as f:
            rows = list(csv.reader(f))
        self.assertEqual(rows, [["NAME", "PHONE", "AGE"], ["Anna", "0301", "3"], ["Jörg", "+4969", "-12000"]])


if __name__ == "__main__":
    unittest.main()
