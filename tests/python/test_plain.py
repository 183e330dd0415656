"""Structures from and to plain data: dicts, lists and JSON, at every entry point."""
import datetime
import json
import math

import rykel
from support import ScratchTest

# JSON-like data whose keys are already upper case: it must come back unchanged.
DATA = {
    "NAME": "Jürgen Öztürk", "EMOJI": "😀", "AGE": 34, "NEG": -2147483648, "BIG": 2 ** 40,
    "WIDE": -(2 ** 53), "F": 2.5, "WHOLE": 3.0, "NEGZERO": -0.0, "TINY": 5e-324, "T": True, "OFF": False,
    "N": None, "EMPTY": {}, "DOTS.IN.NAME": "one name",
    "LIST": [1, "a", [2, [3, []]], {"X": None}], "OUTER": {"INNER": {"DEEP": [1.5]}},
}


class PlainData(ScratchTest):
    def test_dict_structure_dict_is_the_identity(self):
        s = rykel.from_python(DATA)
        back = s.to_python()
        # [] has no items left to tell it from {}: an empty structure is a dict
        want = dict(DATA, LIST=[1, "a", [2, [3, {}]], {"X": None}])
        self.assertEqual(back, want)
        # types survive, not only values: 3.0 stays float, 2**40 stays int, -0.0 keeps its sign
        self.assertEqual((type(back["WHOLE"]), type(back["BIG"]), type(back["WIDE"]), math.copysign(1, back["NEGZERO"])),
                         (float, int, int, -1))
        # names are stored upper case; tuples are lists; a dotted key is one name, not a path
        self.assertEqual(rykel.from_python({"name": {"city": "Köln"}, "t": (1, 2)}).to_python(),
                         {"NAME": {"CITY": "Köln"}, "T": [1, 2]})
        self.assertEqual((s.ITEM_GET("OUTER.INNER.DEEP.1", None, True), s.ITEMBYID_GET("dots.in.name"),
                          rykel.from_python([[1], []]).to_python()), (1.5, "one name", [[1], {}]))

    def test_mixed_nodes_dates_and_bad_input(self):
        # named and numbered items together: a dict, the numbered ones under their index
        s = rykel.cls_Structure()
        s.ITEM_LET("A", 1)
        s.ADD("x")
        s.ITEM_LET(5, "y", True)
        self.assertEqual((s.to_python(), rykel.from_python(s.to_python()).to_python(),
                          rykel.from_python({0: "zero", 1: "one"}).to_python()),
                         ({"A": 1, 2: "x", 5: "y"}, {"A": 1, 2: "x", 5: "y"}, ["zero", "one"]))
        # dates come back as datetime; Null as rykel.NULL; a component object as itself
        d = rykel.from_python({"D": datetime.date(2024, 5, 1), "DT": datetime.datetime(2024, 5, 1, 12, 30),
                               "NULL": rykel.NULL, "OBJ": rykel.cls_KEL}).to_python()
        self.assertEqual((d["D"], d["DT"]), (datetime.datetime(2024, 5, 1), datetime.datetime(2024, 5, 1, 12, 30)))
        self.assertTrue(d["NULL"] is rykel.NULL and d["OBJ"] is rykel.cls_KEL, d)
        for bad in ({1.5: "x"}, "text"):
            with self.assertRaises(TypeError):
                rykel.from_python(bad)
        for key in (-1, 2 ** 21, 2 ** 70):
            with self.assertRaisesRegex(rykel.Error, "out of range"):
                rykel.from_python({key: 1})
        deep = []
        for _ in range(2000):
            deep = [deep]
        with self.assertRaisesRegex(rykel.Error, "nested deeper than 1000 levels"):
            rykel.from_python(deep)
        cycle = []
        cycle.append(cycle)
        with self.assertRaisesRegex(rykel.Error, "nested deeper"):
            rykel.from_python(cycle)

    def test_every_entry_point_takes_plain_data(self):
        s = rykel.cls_Structure()
        s.ITEM_LET("p", {"name": "Anna", "tags": ["a", "b"]})
        s.ADD([1, 2])
        self.assertEqual((s.ITEM_GET("P.TAGS.2", None, True), s.to_python()),
                         ("b", {"P": {"NAME": "Anna", "TAGS": ["a", "b"]}, 2: [1, 2]}))
        s.MERGE({"m": 1})
        self.assertEqual((s.ITEM_GET("M"), rykel.cls_StructureTools().CREATE({"a": 1}).to_python()), (1, {"A": 1}))
        # the interpreter: VARIABLES, PROCESS data and a module's result
        k = rykel.cls_KEL()
        k.VARIABLES = {"people": [{"name": "Anna"}, {"name": "Ben"}], "title": "Liste"}
        self.assertEqual(k.PROCESS("{VAR:title}:{ITERATE p VAR:people { {VAR:p.name}}}"), "Liste: Anna Ben")
        self.assertEqual(k.PROCESS("{%1}/{%2}", ["x", "y"]), "x/y")

        class Feed:
            ID = "FEED"

            def MODULE_EXECUTE(self, rResult, rDone, rValue, pCmd, pParameters, pKEL):
                return (True, {"n": 2, "items": ["p", "q"]})

        k.MODULES.ADD(Feed())
        self.assertEqual((k.PROCESS("{VAR d {{FEED:GET}}}{VAR:d.n}{ITERATE i VAR:d.items {{VAR:i}}}"), k.ERRORLIST.COUNT()),
                         ("2pq", 0))
        # None for an optional argument, as everywhere
        self.assertEqual(rykel.from_python({"a": 1}).to_json(None), '{\n  "A": 1\n}\n')

    def test_database_entries_filters_and_export_settings(self):
        db = rykel.cls_DB()
        for field in ("VORNAME", "ORT"):
            db.FIELDCREATE(field, rykel.ID_DBFieldType_String)
        for i, (first, town) in enumerate((("Anna", "Kiel"), ("Ben", "Bremen"), ("Cem", "Kiel")), 1):
            db.ENTRYADD(i, {"VORNAME": first, "ORT": town})
        ids = db.ENTRYFILTER("", {"ORT": "Kiel"}, "VORNAME", True)
        self.assertEqual([db.FIELDTEXT_GET(i, "VORNAME") for i in ids], ["Cem", "Anna"])
        out = self.path("p.htm")
        self.assertTrue(db.EXPORTFILE("", out, "HTM", ids, {"TITLE": {"SHOW": False}}))
        with open(out, encoding="utf-8", errors="replace") as f:
            self.assertIn("Cem", f.read())

    def test_json_from_python(self):
        text = json.dumps({"name": "Grüße", "n": [1, 2.5, None, True], "big": 12345678901})
        s = rykel.from_json(text)
        self.assertEqual((s.to_python(), s.to_json(-1)), ({"NAME": "Grüße", "N": [1, 2.5, None, True], "BIG": 12345678901},
                                                          '{"NAME":"Grüße","N":[1,2.5,null,true],"BIG":12345678901}'))
        self.assertEqual(json.loads(s.to_json()), s.to_python())
        with self.assertRaises(rykel.Error) as e:
            rykel.from_json('{"a": 1,\n "b": }')
        self.assertEqual((e.exception.number, "JSON invalid at line 2, column 7" in str(e.exception)), (1000, True))

