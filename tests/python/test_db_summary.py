import unittest

import rykel


class SummaryAndSchemaTest(unittest.TestCase):
    def setUp(self):
        self.db = db = rykel.cls_DB()
        db.FIELDCREATE("CITY", rykel.ID_DBFieldType_String)
        db.FIELDCREATE("AGE", rykel.ID_DBFieldType_Long)
        for i, (city, age) in enumerate([("Kiel", 40), ("Bremen", 12), ("Kiel", 20), ("Kiel", None)], 1):
            db.ENTRYADD(i, {"CITY": city, "AGE": age} if age is not None else {"CITY": city})

    def test_facets_and_stats_are_plain_data(self):
        facets = self.db.FIELDFACETS("CITY")
        counts = {f["LABEL"]: f["COUNT"] for f in facets}
        self.assertEqual((counts["Kiel"], counts["Bremen"], counts["-Leer-"]), (3, 1, 0))
        self.assertEqual([f["COUNT"] for f in self.db.FIELDFACETS("CITY", [2, 3]) if f["LABEL"] == "Kiel"], [1])
        self.assertEqual((self.db.FIELDFACETS("NOPE"), rykel.cls_DB().SCHEMA()), ([], []))
        groups = self.db.ENTRYSTATS(["AGE"], "CITY")
        self.assertEqual([(g["VALUE"], g["COUNT"]) for g in groups], [("Kiel", 3), ("Bremen", 1)])
        kiel = groups[0]["FIELDS"]["AGE"]
        self.assertEqual((kiel["COUNT"], kiel["MIN"], kiel["MAX"], kiel["SUM"], kiel["MEAN"]), (2, 20, 40, 60, 30))

    def test_field_changes_keep_entries_in_step(self):
        db = self.db
        db.FIELDNEW("KIND", type=rykel.ID_DBFieldType_Enum, members="a=Alpha,b=Beta", default="a", indexed=True)
        schema = db.SCHEMA()
        self.assertEqual([f["ID"] for f in schema], ["CITY", "AGE", "KIND"])
        self.assertEqual((schema[2]["TYPE"], schema[2]["INDEXED"], schema[2]["MEMBERS"][1]["TEXT"]),
                         ("ENUM", True, "Beta"))
        for bad in (lambda: db.FIELDNEW("AGE"), lambda: db.FIELDCHANGE("NOPE", display="x"),
                    lambda: db.FIELDCHANGE("AGE", members="a,b")):
            with self.assertRaises(Exception):
                bad()
        self.assertEqual(db.FIELDUSAGE("AGE"), 3)
        db.FIELDCHANGE("AGE", type=rykel.ID_DBFieldType_String, display="Alter")
        self.assertEqual((db.FIELD("AGE").NAME, db.ENTRYQUERY("AGE", "", "== 40")), ("Alter", [1]))
        db.FIELDDROP("AGE")
        self.assertEqual([db.FIELDEXISTS("AGE")] + [db.ENTRY(i).EXISTS_GET("AGE") for i in (1, 2, 3)], [False] * 4)

