import csv
import datetime
import json
import sqlite3

import rykel
from support import ScratchTest


def sample():
    db = rykel.cls_DB()
    db.FIELDCREATE("NAME", rykel.ID_DBFieldType_String, "Name").INDEXED = True
    db.FIELDCREATE("ZIP", rykel.ID_DBFieldType_String, "Postleitzahl")
    db.FIELDCREATE("AGE", rykel.ID_DBFieldType_Long, "Alter")
    db.FIELDCREATE("SCORE", rykel.ID_DBFieldType_Double, "Wert")
    db.FIELDCREATE("BORN", rykel.ID_DBFieldType_Date, "Geboren")
    db.FIELDCREATE("OK", rykel.ID_DBFieldType_Boolean, "Geprüft")
    rows = [("Jürgen Größe", "01067", 44, 1.5, datetime.datetime(1980, 5, 17), True),
            ("Ana, \"Q\"", "00001", -3, 0.1, datetime.datetime(2001, 1, 2, 3, 4, 5), False),
            ("", "", None, None, None, None)]
    for i, row in enumerate(rows, 1):
        db.ENTRYADD(i, {f: v for f, v in zip(("NAME", "ZIP", "AGE", "SCORE", "BORN", "OK"), row) if v is not None})
    return db


class ExportDataTest(ScratchTest):
    def test_sqlite_reads_back_field_by_field(self):
        out = self.path("p.sqlite")
        self.assertTrue(sample().EXPORT("sqlite", out))
        con = sqlite3.connect(out)
        self.addCleanup(con.close)
        got = con.execute("SELECT rowid, NAME, ZIP, AGE, SCORE, BORN, OK FROM entries ORDER BY rowid").fetchall()
        self.assertEqual(got, [
            (1, "Jürgen Größe", "01067", 44, 1.5, "1980-05-17", 1),
            (2, "Ana, \"Q\"", "00001", -3, 0.1, "2001-01-02 03:04:05", 0),
            (3, "", "", None, None, None, None),
        ])
        # The dates are in the form SQLite's date functions read.
        self.assertEqual(con.execute("SELECT date(BORN, '+1 day') FROM entries WHERE rowid = 2").fetchone(),
                         ("2001-01-03",))
        self.assertEqual(con.execute("SELECT id, name, type, indexed FROM rykel_fields ORDER BY position").fetchall(),
                         [("NAME", "Name", "STRING", 1), ("ZIP", "Postleitzahl", "STRING", 0),
                          ("AGE", "Alter", "LONG", 0), ("SCORE", "Wert", "DOUBLE", 0),
                          ("BORN", "Geboren", "DATE", 0), ("OK", "Geprüft", "BOOL", 0)])
        plan = con.execute("EXPLAIN QUERY PLAN SELECT * FROM entries WHERE NAME = 'x'").fetchall()
        self.assertIn("entries_NAME", str(plan))

    def test_text_formats_with_a_filter_and_settings_from_python(self):
        db = sample()
        ids = [2]
        for fmt in ("csv", "tsv", "json", "jsonl"):
            self.assertTrue(db.EXPORT(fmt, self.path("a." + fmt), None, ids, {"NOOSD": True}), fmt)
        with open(self.path("a.csv"), newline="", encoding="utf-8") as f:
            self.assertEqual(list(csv.reader(f)), [["NAME", "ZIP", "AGE", "SCORE", "BORN", "OK"],
                                                   ["Ana, \"Q\"", "00001", "-3", "0.1", "2001-01-02 03:04:05",
                                                    "false"]])
        with open(self.path("a.json"), encoding="utf-8") as f:
            self.assertEqual(json.load(f), [{"NAME": "Ana, \"Q\"", "ZIP": "00001", "AGE": -3, "SCORE": 0.1,
                                             "BORN": "2001-01-02 03:04:05", "OK": False}])

