import os

from support import ScratchTest, ok, run


class DbCommandTest(ScratchTest):
    def test_whole_cycle_in_both_forms(self):
        db = self.path("people.ry-dbb")
        r = ok("db", "new", db, "--field", "NAME:STRING", "--field", "AGE:LONG", "--field", "BORN:date")
        self.assertTrue(os.path.exists(self.path("people.header")))
        self.assertEqual(run("db", "add", db, "NAME=Anna", "AGE=42", "BORN=1982-05-17").stdout, "1\n")
        self.assertEqual(run("db", "add", db, "NAME=Bernd").stdout, "2\n")
        self.assertEqual(run("db", "set", db, "2", "AGE=7").returncode, 0)
        self.assertEqual(run("db", "show", db, "2").stdout, "2\tNAME=Bernd\tAGE=7\tBORN=\n")
        info = run("db", "info", db).stdout
        self.assertIn("Entries: 2", info)
        self.assertIn("AGE\tLONG\tGanzzahl", info)

        other = self.path("people.db")
        self.assertEqual(run("db", "convert", db, other).returncode, 0)
        with open(other, "rb") as f:
            self.assertNotIn(b"Morvandil KEL DB Binary", f.read())
        self.assertEqual(run("db", "show", other).stdout, run("db", "show", db).stdout)
        self.assertEqual(run("db", "remove", other, "1").returncode, 0)
        self.assertEqual(run("db", "show", other).stdout, "2\tNAME=Bernd\tAGE=7\tBORN=\n")
        self.assertEqual(run("db", "check", other).returncode, 0)
        self.assertNotEqual(run("db", "remove", other, "99").returncode, 0)

    def test_header_elsewhere_and_errors(self):
        header = self.path("schema.header")
        db = self.path("a.db")
        self.assertEqual(run("db", "new", db, "--field", "X:DOUBLE", "--header", header).returncode, 0)
        self.assertTrue(os.path.exists(header))
        r = run("db", "new", self.path("b.db"), "--field", "X:NOTATYPE")
        self.assertNotEqual(r.returncode, 0)

        # a missing or broken file: test_program.py and cls_DB_test.cpp
        r = run("db", "add", self.path("a.db"), "NOPE=1")
        self.assertNotEqual(r.returncode, 0)


