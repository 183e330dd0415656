import csv
import datetime
import os
import shutil
import subprocess
import tempfile
import unittest

import rykel
from support import ScratchTest

try:
    import openpyxl
except ImportError:  # the system Python has it; another interpreter may not
    openpyxl = None


def people():
    db = rykel.cls_DB()
    db.FIELDCREATE("NAME", rykel.ID_DBFieldType_String, "Name")
    db.FIELDCREATE("CITY", rykel.ID_DBFieldType_String, "Stadt")
    db.FIELDCREATE("ZIP", rykel.ID_DBFieldType_String, "PLZ")
    db.FIELDCREATE("PHONE", rykel.ID_DBFieldType_String, "Telefon")
    db.FIELDCREATE("BORN", rykel.ID_DBFieldType_Date, "Geboren")
    db.FIELDCREATE("AGE", rykel.ID_DBFieldType_Long, "Alter")
    fields = ("NAME", "CITY", "ZIP", "PHONE", "BORN", "AGE")
    for f in fields:
        db.VIEW(1).COLUMNADD(f, 100)
    rows = [("Anna", "Berlin", "01067", "030 123", datetime.datetime(1980, 5, 17), 44),
            ("Bernd", "Frankfurt a.M.", "60311", "+49 69 1", datetime.datetime(1990, 1, 2), -3),
            ("Clara", "Berlin", "10115", "0049", "", 7),
            ("Dora", "Alle", "99999", "", "", 1)]
    for i, row in enumerate(rows, 1):
        db.ENTRYADD(i, dict(zip(fields, row)))
    return db


@unittest.skipIf(openpyxl is None, "openpyxl is not installed")
class WorkbookTest(ScratchTest):
    def test_sheets_header_panes_filter_and_values(self):
        # In constant-memory mode (from 50,000 rows, or asked for) a row can no longer be touched
        # once a later one was started: band, header, panes, filter and widths must still arrive.
        for constant in (False, True):
            with self.subTest(constant=constant):
                self.check_workbook(constant)

    def check_workbook(self, constant):
        db = people()
        db.ENTRYFIELD_LET(4, "NAME", "Dora " + "x" * 30)  # the widest name, in the last row
        out = self.path("p.xlsx")
        settings = {"TITLE.SHOW": True, "TITLE.TEXT": "Kontakte", "SUBSHEET": True, "TABFILTER": "CITY",
                    "CONSTANTMEMORY": constant}
        self.assertTrue(db.EXPORTEXCEL(1, out, None, settings))
        wb = openpyxl.load_workbook(out)
        # "Frankfurt a.M." loses its points; a value named like the all-entries sheet becomes "Alle2".
        self.assertEqual(wb.sheetnames, ["Alle", "Alle2", "Berlin", "Frankfurt aM"])
        ws = wb["Alle"]
        self.assertEqual((ws["A2"].value, ws["A2"].font.sz), ("Kontakte - Gesamt", 18))
        self.assertRegex(ws["F2"].value, r"^Stand: \d\d\.\d\d\.\d{4} \d\d:\d\d$")
        self.assertEqual([c.value for c in ws[4]], ["Name", "Stadt", "PLZ", "Telefon", "Geboren", "Alter"])
        self.assertTrue(all(c.font.b for c in ws[4]))
        self.assertEqual((ws.freeze_panes, ws.auto_filter.ref), ("A5", "A4:F8"))
        self.assertEqual([c.value for c in ws[5]], ["Anna", "Berlin", "01067", "030 123", datetime.datetime(1980, 5, 17), 44])
        self.assertEqual((ws["C5"].number_format, ws["E5"].is_date), ("@", True))
        self.assertEqual((ws["F6"].value, ws["F6"].alignment.horizontal, ws["D7"].value), (-3, "right", "0049"))
        self.assertIn("[Red]", ws["F6"].number_format)
        self.assertGreater(ws.column_dimensions["A"].width, 30)
        self.assertGreater(ws.column_dimensions["B"].width, 14)  # fitted to "Frankfurt a.M."
        # Headers sit over their values; printed on A4 landscape, one page wide, band and header
        # on every page, "Seite n von m" at the foot.
        self.assertEqual([ws.cell(4, c).alignment.horizontal for c in (1, 6)], ["left", "right"])
        self.assertEqual((ws.page_setup.orientation, ws.page_setup.paperSize), ("landscape", 9))
        self.assertTrue(ws.sheet_properties.pageSetUpPr.fitToPage)
        self.assertEqual((ws.page_setup.fitToWidth or 1, ws.page_setup.fitToHeight), (1, 0))
        self.assertEqual(ws.print_title_rows.replace("$", ""), "1:4")
        self.assertEqual(ws.oddFooter.left.text, "Seite &P von &N")

        berlin = wb["Berlin"]
        self.assertEqual((berlin["A2"].value, berlin.auto_filter.ref), ("Kontakte - Berlin", "A4:F6"))
        self.assertEqual([berlin.cell(r, 1).value for r in range(5, berlin.max_row + 1)], ["Anna", "Clara"])
        self.assertEqual([c.value for c in wb["Alle2"][5]][0], "Dora " + "x" * 30)
        self.assertLess(berlin.column_dimensions["A"].width, 30)  # the name widens only its own sheets

    def test_unwritable_target_raises(self):
        db = people()
        with self.assertRaises(Exception):
            db.EXPORTEXCEL(1, "/proc/none/x.xlsx")


def soffice_csv(src, outdir, infilter=None):
    """LibreOffice headless, with a profile of its own, turns src into CSV (comma, double quotes,
    UTF-8, raw cell values rather than shown text) and returns its rows. LC_ALL=C gives the
    program's English defaults, so a date comes back as mm/dd/yyyy, never as the text we wrote."""
    profile = "file://" + os.path.join(outdir, "profile")
    cmd = ["soffice", "--headless", "-env:UserInstallation=" + profile]
    if infilter:
        cmd.append("--infilter=" + infilter)
    cmd += ["--convert-to", "csv:Text - txt - csv (StarCalc):44,34,76,1,,0,false,true,false", "--outdir", outdir, src]
    # The office must not inherit the sanitizer runtime the test suite may preload.
    env = {k: v for k, v in os.environ.items() if k != "LD_PRELOAD"}
    env["LC_ALL"] = "C"
    r = subprocess.run(cmd, capture_output=True, text=True, timeout=180, env=env)
    out = os.path.join(outdir, os.path.splitext(os.path.basename(src))[0] + ".csv")
    if r.returncode != 0 or not os.path.exists(out):
        raise AssertionError("soffice failed: %s %s" % (r.stdout, r.stderr))
    with open(out, encoding="utf-8", newline="") as f:
        return list(csv.reader(f))


@unittest.skipIf(shutil.which("soffice") is None, "LibreOffice (soffice) is not installed: real-reader checks skipped")
class LibreOfficeReadsTest(unittest.TestCase):
    """The spreadsheet program reads back what we wrote: the workbook cell for cell, the HTML
    table's texts (Windows-1252 bytes and numeric entities both)."""

    @classmethod
    def setUpClass(cls):
        cls.dir = tempfile.TemporaryDirectory()
        db = rykel.cls_DB()
        fields = (("NAME", rykel.ID_DBFieldType_String, "Name"), ("ZIP", rykel.ID_DBFieldType_String, "PLZ"),
                  ("PHONE", rykel.ID_DBFieldType_String, "Telefon"), ("BORN", rykel.ID_DBFieldType_Date, "Geboren"),
                  ("NOTE", rykel.ID_DBFieldType_String, "Notiz"), ("AGE", rykel.ID_DBFieldType_Long, "Alter"),
                  ("OK", rykel.ID_DBFieldType_Boolean, "Aktiv"))
        for f, t, n in fields:
            db.FIELDCREATE(f, t, n)
            db.VIEW(1).COLUMNADD(f, 90)
        rows = [("Jürgen Müller-Straße", "01067", "0221 123", datetime.datetime(1980, 5, 17), "12:30", 1234567, True),
                ("Жанна € Ελένη", "00815", "+49 69 1", "", "01.02.2024", -3, False)]
        for i, row in enumerate(rows, 1):
            db.ENTRYADD(i)
            for (f, _, _), v in zip(fields, row):
                db.ENTRYFIELD_LET(i, f, v)
        settings = {"TITLE.SHOW": True, "TITLE.TEXT": "Kunden Köln"}
        d = cls.dir.name
        assert db.EXPORTEXCEL(1, os.path.join(d, "k.xlsx"), None, settings)
        assert db.EXPORTFILE(1, os.path.join(d, "k.htm"), "HTM", None, settings)
        cls.xlsx = soffice_csv(os.path.join(d, "k.xlsx"), d)
        cls.htm = soffice_csv(os.path.join(d, "k.htm"), d, "HTML (StarCalc)")

    @classmethod
    def tearDownClass(cls):
        cls.dir.cleanup()

    def test_workbook_values_come_back(self):
        rows = self.xlsx
        self.check_band(rows)
        # Postal codes and phones keep their zeros and plus; the date field and the "dd.mm.yyyy"
        # text are real dates (shown in the program's own form); "12:30" stays text, not a time.
        self.assertEqual(rows[4], ["Jürgen Müller-Straße", "01067", "0221 123", "05/17/1980", "12:30", "1234567", "Ja"])
        self.assertEqual(rows[5], ["Жанна € Ελένη", "00815", "+49 69 1", "", "02/01/2024", "-3", "Nein"])
        self.assertEqual(len(rows), 6)

    def check_band(self, rows):
        """The title band and the column headers both forms share."""
        self.assertEqual((rows[1][0], rows[3]), ("Kunden Köln", ["Name", "PLZ", "Telefon", "Geboren", "Notiz", "Alter", "Aktiv"]))
        self.assertRegex(rows[1][-1], r"^Stand: \d\d\.\d\d\.\d{4} \d\d:\d\d$")

    def test_html_texts_come_back(self):
        rows = [[c.strip() for c in r] for r in self.htm]
        self.check_band(rows)
        # Umlauts (Windows-1252 bytes), the euro sign (0x80) and Cyrillic and Greek (numeric
        # entities) all arrive; the time-like text stays as written.
        self.assertEqual((rows[4][0], rows[5][0], rows[5][2]), ("Jürgen Müller-Straße", "Жанна € Ελένη", "+49 69 1"))
        self.assertEqual(rows[4][2:5] + rows[4][5:], ["0221 123", "17.05.1980", "12:30", "1234567", "Ja"])
        # The program's HTML import ignores the "mso-number-format" cell styles, so it reads
        # "01067" as the number 1067; the workbook above is the form that keeps it.
        self.assertEqual(rows[4][1].lstrip("0"), "1067")

