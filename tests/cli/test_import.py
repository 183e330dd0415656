"""rykel db import: a bad file leaves the database file byte for byte as it was (exit 2, FILE:LINE),
a new database is made from the columns, and --skip-bad imports the rest."""
import hashlib
import os
import subprocess

from support import CLI, ScratchTest, ok, run


class ImportTest(ScratchTest):
    def digest(self, path):
        with open(path, "rb") as f:
            return hashlib.sha256(f.read()).hexdigest()

    def test_a_csv_the_export_wrote_comes_back_byte_for_byte(self):
        # export -> import into a new database -> export gives the same bytes: types (whole and
        # decimal numbers, dates, yes/no), leading zeros, umlauts, quotes and empty values survive
        db, again = (os.path.join(self.dir.name, n) for n in ("t.ry-dbb", "u.ry-dbb"))
        self.new_db("t.ry-dbb", "N:LONG", "D:DOUBLE", "G:DATE", "B:BOOL", "PLZ:STRING", "NAME:STRING",
                    rows=[["N=42", "D=2.5", "G=2024-05-01", "B=1", "PLZ=01067", 'NAME=Jörg "Jo", Sr.'],
                          ["N=-7", "D=1000000.25", "G=1999-12-31", "B=0", "PLZ=24103", "NAME="]])
        def export(path):
            return subprocess.run([CLI, "db", "export", path, "--format", "csv", "--out", "-"],
                                  capture_output=True).stdout

        first = export(db)
        self.assertEqual(first.count(b"\r\n"), 3, first)
        ok("db", "import", again, self.write("a.csv", first))
        self.assertEqual(export(again), first)
        self.assertIn("D\tDOUBLE", run("db", "schema", again).stdout)

    def test_new_database_then_bad_files_change_nothing(self):
        db = os.path.join(self.dir.name, "p.ry-dbb")
        good = self.write("p.csv", "Name,PLZ,Age,Born,Active\n\"Meier, Bob\",01234,42,4.5.1980,ja\n"
                                   "Anna,28195,31,2001-03-04,no\n")
        self.assertIn("2 entries imported", ok("db", "import", db, good).stdout)
        info = run("db", "info", db).stdout
        for line in ("NAME\tSTRING", "PLZ\tSTRING", "AGE\tLONG", "BORN\tDATE", "ACTIVE\tBOOL"):
            self.assertIn(line, info)
        self.assertIn("PLZ=01234", run("db", "show", db, "1").stdout)
        before = self.digest(db)
        cases = [
            ("ragged.csv", "Name,Age\nX,1\nY\n", "ragged.csv:3: expected 2 values, found 1"),
            ("quote.csv", "Name,Age\nX\"y,1\n", "quote.csv:2: a quote inside an unquoted value"),
            ("type.csv", "Name,Age\nX,1\nY,old\n", "type.csv:3: AGE: 'old' is not a whole number"),
            ("utf8.csv", b"Name,Age\nX\xe4,1\n", "utf8.csv:2: invalid UTF-8"),
            ("quoted.csv", b"Name,Age\nX,1\n\"a,\xe4\",2\n", "quoted.csv:3: invalid UTF-8"),
            ("first.csv", b"Name,Age\n\xe4,1\n", "first.csv:2: invalid UTF-8"),
            ("wide.csv", b"Name,Age\n" + b"X," * 69 + b"\xe4\n", "wide.csv:2: invalid UTF-8"),
            ("bad.json", "[{\"Name\": \"X\"},\n {\"Name\": }]", "bad.json:2: malformed JSON"),
            ("col.jsonl", "{\"Nope\": 1}\n", "col.jsonl:1: column 'Nope' matches no field"),
        ]
        for name, data, message in cases:
            r = run("db", "import", db, self.write(name, data))
            self.assertEqual((r.returncode, message in r.stderr, self.digest(db)), (2, True, before), (name, r.stderr))
        r = ok("db", "import", db, self.write("mixed.csv", "Name,Age\nX,1\nY\nZ,3\n"), "--skip-bad")
        self.assertTrue("2 entries imported" in r.stdout and "lines 3" in r.stdout, r.stdout)
        self.assertEqual(run("db", "info", db).stdout.count("Entries: 4"), 1)

    def test_failed_new_database_leaves_no_files_and_cp1252_maps(self):
        db = os.path.join(self.dir.name, "n.ry-dbb")
        r = run("db", "import", db, self.write("open.csv", "A,B\n1,\"2\n"))
        self.assertEqual((r.returncode, sorted(os.listdir(self.dir.name))), (2, ["open.csv"]))
        ok("db", "import", db, self.write("w.tsv", "Ort\tWer\nK\xf6ln\tM\xfcller\n".encode("cp1252")),
           "--encoding", "cp1252", "--map", "Wer=NAME", "--create")
        self.assertIn("ORT=Köln\tNAME=Müller", run("db", "show", db).stdout)
        self.assertEqual(run("db", "import", db, self.write("x.csv", "A\n1\n"), "--map", "A").returncode, 2)

    def test_standard_input_is_read_like_a_file(self):
        db = os.path.join(self.dir.name, "in.ry-dbb")
        self.assertIn("2 entries imported", ok("db", "import", db, "-", "--quiet", stdin="Name,Alter\nAnna,7\nBen,8\n").stdout)
        self.assertIn("NAME=Ben\tALTER=8", run("db", "show", db).stdout)
        before = self.digest(db)
        r = run("db", "import", db, "-", "--format", "jsonl", stdin='{"Name": "C"}\n{"Alter": "x"}\n')
        self.assertEqual((r.returncode, r.stderr.strip()),
                         (2, "rykel db import: standard input:2: ALTER: 'x' is not a whole number"))
        self.assertEqual(self.digest(db), before)
