"""cls_DB.IMPORTFILE from Python: options as a dict, the result as a structure, all or nothing."""
import rykel
from support import ScratchTest


class ImportFileTest(ScratchTest):
    def test_import_with_options_and_failure(self):
        db = rykel.cls_DB()
        r = db.IMPORTFILE(self.write("p.csv", "Name;Score;When\nÄnne;1,5;2024-01-31\nBo;2;\n"),
                          {"CREATE": True, "DELIMITER": ";", "MAP": ["When=DAY"]})
        self.assertEqual((r.to_python(), db.ENTRYFIELD_GET(1, "SCORE"), db.ENTRYFIELD_GET(1, "NAME")),
                         ({"IMPORTED": 2, "FIELDS": ["NAME", "SCORE", "DAY"], "SKIPPED": {}}, 1.5, "Änne"))
        more = self.write("more.jsonl", '{"name": "Cy", "score": 3}\n{"name": "Di", "score": "x"}\n')
        with self.assertRaises(Exception) as e:
            db.IMPORTFILE(more)
        self.assertEqual(("more.jsonl:2: SCORE: 'x' is not a number" in str(e.exception), db.ENTRYCOUNT()), (True, 2))
        r = db.IMPORTFILE(more, {"SKIPBAD": True})
        self.assertEqual((r.to_python(), db.ENTRYFIELD_GET(3, "SCORE")), ({"IMPORTED": 1, "FIELDS": {}, "SKIPPED": [2]}, 3))

