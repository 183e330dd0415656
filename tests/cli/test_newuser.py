"""A new user's first hour with the rykel program, end to end: the places where it used to go
wrong quietly (values stored as something else, an unknown field matching nothing, a value with
blanks read as an operator). Each case expects what a user relying on real data would. A blank page
with exit 0: test_render.py; one schema per database and parallel adds: test_db_files.py."""
import os
import re

from support import ScratchTest, ok, run


class NewUser(ScratchTest):
    def ids(self, db):
        return [line.split("\t")[0] for line in run("db", "show", db).stdout.splitlines()]

    def test_values_must_fit_their_fields(self):
        db = self.new_db("t.ry-dbb", "D:DATE", "N:DOUBLE", "L:LONG", "B:BOOL", "E:ENUM:k=Kiel,b=Bremen",
                         "M:ENUMMULTI:a,b,c", "S:STRING")
        refused = [("D=1999-02-30", "D: '1999-02-30' is not a DATE"), ("D=10:00", "is not a DATE"),
                   ("N=abc", "N: 'abc' is not a DOUBLE"), ("L=12.7", "L: '12.7' is not a LONG"),
                   ("B=maybe", "B: 'maybe' is not a BOOL"), ("E=zzz", "E: 'zzz' is not a member of the ENUM field"),
                   ("M=a,x", "holds 'x', which is not a member")]
        for value, message in refused:
            r = run("db", "add", db, "S=kept?", value)
            self.assertEqual((r.returncode, message in r.stderr), (2, True), (value, r.stderr))
        self.assertEqual(self.ids(db), [])  # a refused add stores nothing, not even the good values
        accepted = ["D=1999-02-28", "D=1.2.2000 10:00", "N=1,5", "N=-2E3", "L=12", "L=", "B=nein", "B=JA",
                    "E=k", "E=bremen", "M=a, c", "S=anything"]
        for value in accepted:
            self.assertEqual(run("db", "add", db, value).returncode, 0, value)
        shown = run("db", "show", db).stdout
        for expected in ("D=28.02.1999", "D=01.02.2000 10:00:00", "N=1.5", "N=-2000", "L=12", "B=Nein", "B=Ja",
                         "E=Kiel", "E=Bremen", "M=a, c"):
            self.assertIn("\t" + expected + "\t", shown)
        # set checks as add does; --lenient hands the value to the library's own conversion.
        r = run("db", "set", db, "1", "L=12.7")
        self.assertEqual((r.returncode, r.stderr.count("\n")), (2, 1))
        ok("db", "set", db, "1", "L=12.7", "--lenient")
        self.assertIn("\tL=13\t", run("db", "show", db, "1").stdout)

    def test_unknown_field_is_named(self):
        db = self.new_db("u.ry-dbb", "ORT:STRING", "PLZ:STRING")
        run("db", "add", db, "ORT=Kiel")
        out = self.path("x.htm")
        for args in (("query", db, "ORT2", "Kiel"), ("filter", db, "ORT2=Kiel"), ("filter", db, "ORT=Kiel", "--sort", "ORT2"),
                     ("sort", db, "ORT2"), ("sort", db, "&ORT2"), ("search", db, "Kiel", "--sort", "ORT2"),
                     ("export", db, "--format", "htm", "--out", out, "--filter", "ORT2=Kiel"),
                     ("export", db, "--format", "htm", "--out", out, "--sort", "ORT2"),
                     ("add", db, "ORT2=x")):
            r = run("db", *args)
            self.assertEqual(r.returncode, 2, args)
            self.assertRegex(r.stderr, r"^rykel db \w+: unknown field &?ORT2; fields: ORT, PLZ\n$")
        # the display-text prefix is no field
        self.assertEqual((os.path.exists(out), run("db", "sort", db, "&ORT").stdout), (False, "1\n"))

    def test_values_with_blanks_and_repeated_fields(self):
        db = self.new_db("o.ry-dbb", "ORT:STRING")
        for town in ("Frankfurt am Main", "Kiel", "Bremen", "frankfurt AM main", "IN Kiel", "Am Main"):
            run("db", "add", db, "ORT=" + town)

        def query(*args):
            return ok("db", "query", db, "ORT", *args).stdout.split()

        cases = [(("Frankfurt am Main",), ["1", "4"]),      # a plain value is compared whole, case-blind
                 (("== Frankfurt am Main",), ["1"]),         # an operator reads as before
                 (("$BEGINS fr",), ["1", "4"]),
                 (("IN Kiel,Bremen",), ["2", "3"]),          # a value led by an operator word is a condition
                 (("= IN Kiel",), ["5"]),                    # ... unless an operator comes first
                 (("!Kiel",), ["1", "3", "4", "5", "6"]),
                 (("=Frankfurt am Main",), ["1"]),           # glued operator characters stay the operator
                 (("!=Frankfurt am Main",), ["2", "3", "4", "5", "6"]),
                 (("$=frankfurt am main",), ["1", "4"]),
                 (("Frankfurt am Main", "--condition"), []),  # raw: "Frankfurt" is read as the operator
                 (("Am Main",), ["6"])]
        for args, expected in cases:
            self.assertEqual(query(*args), expected, args)
        filters = [(("ORT=Kiel", "ORT=Bremen", "--or"), ["2", "3"]), (("ORT=Kiel", "ORT=Bremen"), []),
                   (("ORT=$BEGINS f", "ORT=$ENDS main"), ["1", "4"]),
                   (("ORT=Frankfurt am Main", "ORT=Kiel", "--or", "--sort", "ORT", "--rev"), ["2", "1", "4"])]
        for args, expected in filters:
            self.assertEqual(run("db", "filter", db, *args).stdout.split(), expected, args)
        out = self.path("o.htm")
        ok("db", "export", db, "--format", "htm", "--out", out, "--filter", "ORT=Kiel", "--filter", "ORT=Am Main", "--or")
        with open(out, encoding="cp1252") as f:
            rows = re.findall(r"<td[^>]*>([^<]*)</td>", f.read())
        self.assertEqual(["Kiel" in rows, "Am Main" in rows, "Bremen" in rows], [True, True, False])

