import hashlib
import json
import os

from support import ScratchTest, ok, run


def digest(*paths):
    out = []
    for p in paths:
        with open(p, "rb") as f:
            out.append(hashlib.sha256(f.read()).hexdigest())
    return out


class SchemaAndOutputTest(ScratchTest):
    def setUp(self):
        super().setUp()
        self.header = self.path("people.header")
        self.db = self.new_db("people.ry-dbb", "NAME:STRING", "AGE:LONG", "SEEN:DATE", "KIND:ENUM:a=Alpha,b=Beta",
                              rows=[("NAME=Meier, Anna \"A\"", "AGE=40", "SEEN=2024-01-31", "KIND=a"),
                                    ("NAME=Müller", "AGE=12", "SEEN=", "KIND=b"),
                                    ("NAME=Schmidt", "AGE=40", "SEEN=2023-06-01", "KIND=a")])

    def ok(self, *args, env=None):
        return ok(*args, env=env).stdout

    def test_output_modes(self):
        tsv = self.ok("db", "filter", self.db, "AGE=40", "--show")
        self.assertEqual(tsv, "ID\tNAME\tAGE\tSEEN\tKIND\n1\tMeier, Anna \"A\"\t40\t31.01.2024\tAlpha\n"
                              "3\tSchmidt\t40\t01.06.2023\tAlpha\n")
        for cmd in (("query", "AGE", ">= 40"), ("filter", "AGE=40"), ("search", "40"), ("sort", "AGE")):
            self.assertEqual(self.ok("db", *cmd[:1], self.db, *cmd[1:], "--as", "tsv"),
                             self.ok("db", *cmd[:1], self.db, *cmd[1:], "--show"), cmd)
        csv = self.ok("db", "query", self.db, "AGE", "40", "--as", "csv").splitlines()
        self.assertEqual(csv[1], '1,"Meier, Anna ""A""",40,31.01.2024,Alpha')
        rows = json.loads(self.ok("db", "sort", self.db, "AGE", "--as", "json"))
        self.assertEqual([(r["ID"], r["NAME"], r["AGE"], r["SEEN"]) for r in rows],
                         [(2, "Müller", 12, ""), (1, "Meier, Anna \"A\"", 40, "2024-01-31 00:00:00"),
                          (3, "Schmidt", 40, "2023-06-01 00:00:00")])
        self.assertEqual(json.loads(self.ok("db", "query", self.db, "AGE", "99", "--as", "json")), [])
        lines = self.ok("db", "show", self.db, "2", "--as", "jsonl").splitlines()
        self.assertEqual([json.loads(l)["NAME"] for l in lines], ["Müller"])
        # db show keeps its FIELD=text lines for scripts unless --as is given.
        self.assertEqual(self.ok("db", "show", self.db, "2"), "2\tNAME=Müller\tAGE=12\tSEEN=\tKIND=Beta\n")
        self.assertEqual(run("db", "show", self.db, "--as", "xml").returncode, 2)

        self.ok("db", "field", self.db, "set", "NAME", "--display", "Name des Kunden")
        env = dict(os.environ, COLUMNS="40")
        table = self.ok("db", "sort", self.db, "NAME", "--as", "table", env=env).splitlines()
        self.assertEqual((table[0].startswith("ID  Name des"), all(len(l) <= 40 for l in table), any("…" in l for l in table)),
                         (True, True, True), table)
        # Columns line up by characters: the age column starts at the same place after "Müller".
        ages = {l.split()[0]: l.index(" 40") if " 40" in l else l.index(" 12") for l in table[1:]}
        self.assertEqual(len(set(ages.values())), 1, table)

    def test_facets_and_stats(self):
        facets = json.loads(self.ok("db", "facets", self.db, "KIND", "AGE", "--json"))
        kind = [(f["LABEL"], f["COUNT"]) for f in facets["KIND"]]
        self.assertEqual(kind[:2], [("Alpha", 2), ("Beta", 1)])
        self.assertTrue(all(isinstance(f["COUNT"], int) for f in facets["AGE"]))
        narrowed = json.loads(self.ok("db", "facets", self.db, "KIND", "--json", "--filter", "AGE=12"))
        self.assertEqual([(f["LABEL"], f["COUNT"]) for f in narrowed["KIND"]][:2], [("Alpha", 0), ("Beta", 1)])
        text = self.ok("db", "facets", self.db, "KIND").splitlines()
        self.assertEqual(text[:2], ["FIELD\tLABEL\tCOUNT\tCONDITION", "KIND\tAlpha\t2\tCONTAINS a"])
        # --as works on the summaries too; jsonl gives one choice, group or field a line
        self.assertEqual(json.loads(self.ok("db", "facets", self.db, "KIND", "--as", "json")), facets_kind := {"KIND": facets["KIND"]})
        lines = [json.loads(l) for l in self.ok("db", "facets", self.db, "KIND", "--as", "jsonl").splitlines()]
        self.assertEqual(lines[0], {"FIELD": "KIND", "LABEL": "Alpha", "CONDITION": "CONTAINS a", "COUNT": 2})
        self.assertEqual(len(lines), len(facets_kind["KIND"]))
        self.assertEqual(self.ok("db", "schema", self.db, "--as", "csv").splitlines()[4], "KIND,ENUM,KIND,\"a=Alpha,b=Beta\",,")
        self.assertEqual([json.loads(l)["ID"] for l in self.ok("db", "schema", self.db, "--as", "jsonl").splitlines()],
                         ["NAME", "AGE", "SEEN", "KIND"])
        self.assertEqual(json.loads(self.ok("db", "stats", self.db, "AGE", "--as", "jsonl"))["COUNT"], 3)

        stats = json.loads(self.ok("db", "stats", self.db, "--json"))
        self.assertEqual((len(stats), stats[0]["COUNT"]), (1, 3))
        age, seen = stats[0]["FIELDS"]["AGE"], stats[0]["FIELDS"]["SEEN"]
        self.assertEqual((age["COUNT"], age["MIN"], age["MAX"], age["SUM"]), (3, 12, 40, 92))
        self.assertAlmostEqual(age["MEAN"], 92 / 3)
        self.assertEqual((seen["COUNT"], seen["MIN"][:10], seen["MAX"][:10], "SUM" in seen), (2, "2023-06-01", "2024-01-31", False))
        grouped = json.loads(self.ok("db", "stats", self.db, "AGE", "--group-by", "KIND", "--json"))
        self.assertEqual([(g["VALUE"], g["COUNT"], g["FIELDS"]["AGE"]["SUM"]) for g in grouped],
                         [("Alpha", 2, 80), ("Beta", 1, 12)])
        text = self.ok("db", "stats", self.db, "AGE", "NAME").splitlines()
        self.assertEqual(text, ["ENTRIES\tFIELD\tCOUNT\tMIN\tMAX\tSUM\tMEAN", "3\tAGE\t3\t12\t40\t92\t30.6666666666667",
                                "3\tNAME\t3\t\t\t\t"])
        for bad in (("facets", self.db, "NOPE"), ("stats", self.db, "--group-by", "NOPE"), ("stats", self.db, "X")):
            self.assertEqual(run("db", *bad).returncode, 2, bad)

    def test_schema_and_field_changes(self):
        self.ok("db", "field", self.db, "add", "CITY", "--type", "ENUM", "--members", "HB=Bremen,KI=Kiel",
                "--default", "Kiel", "--index", "--display", "Stadt")
        schema = {f["ID"]: f for f in json.loads(self.ok("db", "schema", self.db, "--json"))}
        self.assertEqual(list(schema), ["NAME", "AGE", "SEEN", "KIND", "CITY"])
        city = schema["CITY"]
        self.assertEqual((city["TYPE"], city["NAME"], city["DEFAULT"], city["INDEXED"], city["MEMBERS"]),
                         ("ENUM", "Stadt", "KI", True, [{"VALUE": "HB", "TEXT": "Bremen"}, {"VALUE": "KI", "TEXT": "Kiel"}]))
        self.assertIn("CITY\tENUM\tStadt\tHB=Bremen,KI=Kiel\tKI\tyes", self.ok("db", "schema", self.db))
        self.assertEqual((self.ok("db", "add", self.db), "CITY=Kiel" in self.ok("db", "show", self.db, "4"),
                          self.ok("db", "check", self.db)[:2]), ("4\n", True, "OK"))

        # Refusals change neither file.
        before = digest(self.db, self.header)
        for args, code in ((("remove", "AGE"), 1), (("add", "AGE"), 2), (("add", "X", "--type", "NOPE"), 2),
                           (("add", "X", "--members", "a,b"), 2), (("add", "X", "--type", "ENUM"), 2),
                           (("set", "AGE", "--default", "zwölf"), 2), (("set", "NOPE", "--display", "x"), 2),
                           (("remove", "AGE", "--type", "LONG"), 2), (("rename", "AGE"), 2),
                           (("set", "AGE"), 2), (("set", "AGE", "--index", "--no-index"), 2)):
            r = run("db", "field", self.db, *args)
            self.assertTrue(r.returncode == code and r.stderr.strip(), (args, r.returncode, r.stderr))
        self.assertEqual(digest(self.db, self.header), before)

        self.ok("db", "field", self.db, "remove", "AGE", "--force")
        self.ok("db", "field", self.db, "add", "AGE", "--type", "LONG")
        self.assertTrue(self.ok("db", "show", self.db, "1").endswith("\tAGE=\n"))  # the old values are gone
        self.ok("db", "field", self.db, "set", "NAME", "--type", "LONG")
        self.ok("db", "field", self.db, "set", "NAME", "--type", "STRING")
        self.assertEqual(("NAME=Müller" in self.ok("db", "show", self.db, "2"), self.ok("db", "check", self.db)[:2]),
                         (True, "OK"))

