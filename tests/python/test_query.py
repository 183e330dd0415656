import unittest

import rykel


class QueryTest(unittest.TestCase):
    def setUp(self):
        self.db = db = rykel.cls_DB()
        db.FIELDCREATE("LASTNAME", rykel.ID_DBFieldType_String).INDEXED = True
        db.FIELDCREATE("CITY", rykel.ID_DBFieldType_String)
        db.FIELDCREATE("AGE", rykel.ID_DBFieldType_Long)
        for i, (name, city, age) in enumerate([("Meier", "Hamburg", 40), ("meier", "Bremen", 12),
                                               ("Müller", "München", 40)], 1):
            db.ENTRYADD(i, {"LASTNAME": name, "CITY": city, "AGE": age})

    def test_query_search_filter_sort(self):
        db = self.db
        self.assertEqual(db.ENTRYQUERY("LASTNAME", "", "$BEGINS m"), [1, 2, 3])
        self.assertEqual(db.ENTRYQUERY("LASTNAME", "==", "Meier"), [1])
        self.assertEqual(db.ENTRYQUERY("AGE", "", ">= 20", [3, 1]), [3, 1])
        self.assertEqual(db.ENTRYSEARCH("meier -bremen"), [1])
        f = rykel.from_python({"AGE": "= 40", "CITY": "$CONTAINS MÜN", "MODE": "OR"})
        self.assertEqual(db.ENTRYFILTER("", f, "LASTNAME", True), [3, 1])
        self.assertEqual(db.ENTRYSORTADVANCED("AGE", True, "CITY"), [1, 3, 2])
        self.assertEqual(rykel.cls_DB.FILTERCOMBINE("= a", "= b"), "IN a,b")

    def test_filter_tool(self):
        tool = rykel.DBTOOL_GET()
        self.assertEqual([tool.FILTER("abc", "!IN x,y"), tool.FILTER("x", "!IN x,y"), tool.FILTER(5, "[] 1 5")],
                         [True, False, True])

