import os

from support import ScratchTest, ok, run


class DbCommandTest(ScratchTest):
    def test_whole_cycle_in_both_forms(self):
        db = self.path("people.ry-dbb")
        ok("db", "new", db, "--field", "NAME:STRING", "--field", "AGE:LONG", "--field", "BORN:date")
        self.assertTrue(os.path.exists(self.path("people.header")))
        self.assertEqual((run("db", "add", db, "NAME=Anna", "AGE=42", "BORN=1982-05-17").stdout,
                          run("db", "add", db, "NAME=Bernd").stdout), ("1\n", "2\n"))
        ok("db", "set", db, "2", "AGE=7")
        self.assertEqual(run("db", "show", db, "2").stdout, "2\tNAME=Bernd\tAGE=7\tBORN=\n")
        info = run("db", "info", db).stdout
        self.assertTrue("Entries: 2" in info and "AGE\tLONG\tGanzzahl" in info, info)

        other = self.path("people.db")
        ok("db", "convert", db, other)
        with open(other, "rb") as f:
            self.assertNotIn(b"Morvandil KEL DB Binary", f.read())
        self.assertEqual(run("db", "show", other).stdout, run("db", "show", db).stdout)
        ok("db", "remove", other, "1")
        self.assertEqual(run("db", "show", other).stdout, "2\tNAME=Bernd\tAGE=7\tBORN=\n")
        ok("db", "check", other)
        self.assertNotEqual(run("db", "remove", other, "99").returncode, 0)

    def test_header_elsewhere_and_errors(self):
        header = self.path("schema.header")
        db = self.path("a.db")
        ok("db", "new", db, "--field", "X:DOUBLE", "--header", header)
        self.assertTrue(os.path.exists(header))
        self.assertNotEqual(run("db", "new", self.path("b.db"), "--field", "X:NOTATYPE").returncode, 0)
        # a missing or broken file: test_program.py and cls_DB_test.cpp
        self.assertNotEqual(run("db", "add", self.path("a.db"), "NOPE=1").returncode, 0)

