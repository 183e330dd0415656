import os

from support import ScratchTest, ok, run


class FillCommandTest(ScratchTest):
    FIELDS = ("VORNAME:STRING", "NACHNAME", "ADDR.PLZ", "EMAIL", "ALTER:LONG", "SEIT:DATE", "AKTIV:BOOL",
              "DATA:STRUCT")

    def new_db(self, name):
        os.mkdir(self.path(name))
        return super().new_db(name + "/p.ry-dbb", *self.FIELDS)

    def test_same_seed_same_entries_and_values_fit_the_fields(self):
        a, b, c = self.new_db("a"), self.new_db("b"), self.new_db("c")
        for db, seed in ((a, "7"), (b, "7"), (c, "8")):
            r = ok("db", "fill", db, "--count", "40", "--seed", seed)
            # no progress bar when stderr is no terminal
            self.assertEqual((r.stdout, r.stderr), ("40 entries added, 40 in all\n", ""))
        shown = run("db", "show", a).stdout
        self.assertEqual(shown, run("db", "show", b).stdout)
        self.assertNotEqual(shown, run("db", "show", c).stdout)
        lines = shown.splitlines()
        self.assertEqual(len(lines), 40)
        shapes = {"ADDR.PLZ": r"\d{5}", "EMAIL": r"[^@\s]+@[a-z0-9_.-]+\.[a-z]+", "ALTER": r"-?\d+",
                  "SEIT": r"\d\d\.\d\d\.\d{4}.*", "AKTIV": "Ja|Nein", "DATA": "", "VORNAME": ".+", "NACHNAME": ".+"}
        for line in lines:
            cols = dict(col.split("=", 1) for col in line.split("\t")[1:])
            for field, shape in shapes.items():
                self.assertRegex(cols[field], "^(" + shape + ")$", line)
        # A second fill adds to what is there, with fresh ids.
        self.assertEqual(run("db", "fill", a, "-n", "3").stdout, "3 entries added, 43 in all\n")
        self.assertEqual(len({line.split("\t")[0] for line in run("db", "show", a).stdout.splitlines()}), 43)

    def test_bad_arguments(self):
        db = self.new_db("a")
        self.assertNotEqual(run("db", "fill", db).returncode, 0)           # --count is required
        self.assertNotEqual(run("db", "fill", db, "-n", "-1").returncode, 0)
        r = run("db", "fill", self.path("none.ry-dbb"), "-n", "1")
        self.assertTrue(r.returncode != 0 and "rykel db fill: DB file" in r.stderr, r.stderr)

