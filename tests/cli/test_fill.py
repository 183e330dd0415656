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
            self.assertEqual(r.stdout, "40 entries added, 40 in all\n")
            self.assertEqual(r.stderr, "")  # no progress bar when stderr is no terminal
        shown = run("db", "show", a).stdout
        self.assertEqual(shown, run("db", "show", b).stdout)
        self.assertNotEqual(shown, run("db", "show", c).stdout)
        lines = shown.splitlines()
        self.assertEqual(len(lines), 40)
        for line in lines:
            cols = dict(col.split("=", 1) for col in line.split("\t")[1:])
            self.assertRegex(cols["ADDR.PLZ"], r"^\d{5}$")
            self.assertRegex(cols["EMAIL"], r"^[^@\s]+@[a-z0-9_.-]+\.[a-z]+$")
            self.assertRegex(cols["ALTER"], r"^-?\d+$")
            self.assertRegex(cols["SEIT"], r"^\d\d\.\d\d\.\d{4}")
            self.assertIn(cols["AKTIV"], ("Ja", "Nein"))
            self.assertEqual(cols["DATA"], "")
            self.assertTrue(cols["VORNAME"] and cols["NACHNAME"])
        # A second fill adds to what is there, with fresh ids.
        r = run("db", "fill", a, "-n", "3")
        self.assertEqual(r.stdout, "3 entries added, 43 in all\n")
        ids = [line.split("\t")[0] for line in run("db", "show", a).stdout.splitlines()]
        self.assertEqual(len(set(ids)), 43)

    def test_bad_arguments(self):
        db = self.new_db("a")
        self.assertNotEqual(run("db", "fill", db).returncode, 0)           # --count is required
        self.assertNotEqual(run("db", "fill", db, "-n", "-1").returncode, 0)
        r = run("db", "fill", self.path("none.ry-dbb"), "-n", "1")
        self.assertNotEqual(r.returncode, 0)
        self.assertIn("rykel db fill: DB file", r.stderr)

