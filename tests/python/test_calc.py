"""EXPORTEXCEL through LibreOffice Calc: the real office, read back with openpyxl and the office's own
CSV conversion. A missing office and passwords: cls_DBExportCalc_test.cpp and the cli's test_calc.py."""
import datetime
import shutil
import unittest

import rykel
from support import ScratchTest
from test_export import soffice_csv

try:
    import openpyxl
except ImportError:
    openpyxl = None

OFFICE = shutil.which("soffice")
NO_OFFICE = "LibreOffice Calc is not installed (scripts/setup installs libreoffice-calc-nogui)"


def contacts():
    db = rykel.cls_DB()
    for fid, ftype, name in (("NAME", rykel.ID_DBFieldType_String, "Name"),
                             ("CITY", rykel.ID_DBFieldType_String, "Stadt"),
                             ("ZIP", rykel.ID_DBFieldType_String, "PLZ"),
                             ("PHONE", rykel.ID_DBFieldType_String, "Telefon"),
                             ("BORN", rykel.ID_DBFieldType_Date, "Geboren"),
                             ("AGE", rykel.ID_DBFieldType_Long, "Alter"),
                             ("NOTE", rykel.ID_DBFieldType_String, "Notiz")):
        db.FIELDCREATE(fid, ftype, name)
        db.VIEW(1).COLUMNADD(fid, 100)
    rows = [("Anna", "Berlin", "01067", "030 123", datetime.datetime(1980, 5, 17), 44, "12:30"),
            ("Bernd", "Frankfurt a.M.", "60311", "+49 69 1", datetime.datetime(1990, 1, 2), -1234, "24.12.2023"),
            ("Clara Müller", "Berlin", "10115", "0049", None, 7, ""),
            ("Dora", "Alle", "99999", "", None, 1, "Grüße €")]
    for i, row in enumerate(rows, 1):
        db.ENTRYADD(i, {fid: "" if value is None else value
                        for fid, value in zip(("NAME", "CITY", "ZIP", "PHONE", "BORN", "AGE", "NOTE"), row)})
    return db


@unittest.skipIf(OFFICE is None, NO_OFFICE)
@unittest.skipIf(openpyxl is None, "python3-openpyxl is not installed")
class CalcWorkbookTest(ScratchTest):
    def test_sheets_title_header_cells_and_filter(self):
        out = self.path("kontakte.xlsx")
        settings = {"EXCEL.USEPROGRAM": True, "TITLE.SHOW": True, "TITLE.TEXT": "Kontakte",
                    "SUBSHEET": True, "TABFILTER": "CITY"}
        self.assertTrue(contacts().EXPORTEXCEL(1, out, None, settings))
        wb = openpyxl.load_workbook(out)
        self.assertEqual(wb.sheetnames, ["Alle", "Alle2", "Berlin", "Frankfurt aM"])

        ws = wb["Alle"]
        self.assertEqual((ws["A2"].value, ws["A2"].font.sz), ("Kontakte - Gesamt", 18))
        self.assertRegex(ws["G2"].value, r"^Stand: \d\d\.\d\d\.\d{4} \d\d:\d\d$")
        self.assertEqual([c.value for c in ws[4]], ["Name", "Stadt", "PLZ", "Telefon", "Geboren", "Alter", "Notiz"])
        self.assertTrue(all(c.font.b for c in ws[4]))
        # the header's fill, the default title colour, the filter
        self.assertEqual((ws["A4"].fill.fgColor.rgb, ws["A4"].font.color.rgb, ws.auto_filter.ref),
                         ("FFF2F2F2", "FF00659F", "A4:G8"))

        anna, bernd, clara, dora = ws[5], ws[6], ws[7], ws[8]
        # Postal codes and phone numbers stay text: leading zeros and "+" survive.
        self.assertEqual((anna[2].value, anna[3].value, bernd[3].value, clara[3].value),
                         ("01067", "030 123", "+49 69 1", "0049"))
        self.assertEqual(anna[2].number_format, "@")
        # Numbers are numbers with thousands separators and red negatives, right-aligned.
        self.assertEqual((bernd[5].value, bernd[5].alignment.horizontal), (-1234, "right"))
        self.assertIn("[RED]", bernd[5].number_format.upper())
        # Dates are dates; a "##:##" text stays text; a "##.##.####" text becomes a date.
        self.assertEqual((anna[4].value, anna[4].alignment.horizontal), (datetime.datetime(1980, 5, 17), "left"))
        self.assertEqual((anna[6].value, anna[6].number_format), ("12:30", "@"))
        self.assertEqual(bernd[6].value, datetime.datetime(2023, 12, 24))
        # Blanks are empty cells, not error cells; text keeps umlauts and the euro sign.
        self.assertEqual((clara[4].value, clara[6].value, clara[0].value, dora[6].value),
                         (None, None, "Clara Müller", "Grüße €"))

        berlin = wb["Berlin"]
        self.assertEqual((berlin["A2"].value, berlin.auto_filter.ref), ("Kontakte - Berlin", "A4:G6"))
        self.assertEqual([r[0].value for r in berlin.iter_rows(min_row=5)], ["Anna", "Clara Müller"])
        self.assertEqual([r[0].value for r in wb["Alle2"].iter_rows(min_row=5)], ["Dora"])

        rows = soffice_csv(out, self.dir.name)
        self.assertEqual((rows[3][:3], rows[4][:3], rows[5][5], rows[7][6]),
                         (["Name", "Stadt", "PLZ"], ["Anna", "Berlin", "01067"], "-1234", "Grüße €"))


