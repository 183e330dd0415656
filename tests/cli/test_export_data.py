import csv
import json
import os
import shutil
import sqlite3

from support import CLI, ScratchTest, ok, run


class DbExportDataTest(ScratchTest):
    def setUp(self):
        super().setUp()
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(self.dir.name)
        # named without a folder: the database and its header in the working folder
        ok("db", "new", "p.ry-dbb", *"--field NAME:STRING --field CITY:STRING --field AGE:LONG".split())
        for row in (("NAME=Anna", "CITY=Berlin", "AGE=30"), ("NAME=Bernd", "CITY=Köln, Rhein", "AGE=4"),
                    ("NAME=Clara", "CITY=Berlin", "AGE=")):
            ok("db", "add", "p.ry-dbb", *row)

    def test_text_formats_to_stdout_with_filter_and_sort(self):
        r = ok("db", "export", "p.ry-dbb", "--format", "csv", "--out", "-", "--where", "CITY=Berlin", "--sort", "NAME",
               "--rev")
        self.assertEqual((r.stdout.replace("\r\n", "\n"), os.path.exists("-")),
                         ("NAME,CITY,AGE\nClara,Berlin,\nAnna,Berlin,30\n", False))
        # a sort without a filter streams from the file: the view's order, a second field its own way
        r = run("db", "export", "p.ry-dbb", "--format", "csv", "--out", "-", "--sort", "CITY", "--rev", "--then", "NAME")
        self.assertEqual(r.stdout.replace("\r\n", "\n"), 'NAME,CITY,AGE\nBernd,"Köln, Rhein",4\nAnna,Berlin,30\n'
                         'Clara,Berlin,\n', r.stderr)
        export = lambda *args: run("db", "export", "p.ry-dbb", "--out", "-", "--format", *args).stdout
        self.assertEqual([e["CITY"] for e in json.loads(ok("db", "export", "p.ry-dbb", "--format", "JSON", "--out", "-").stdout)],
                         ["Berlin", "Köln, Rhein", "Berlin"])
        self.assertEqual([json.loads(line) for line in export("jsonl", "--where", "AGE=4").splitlines()],
                         [{"NAME": "Bernd", "CITY": "Köln, Rhein", "AGE": 4}])
        self.assertEqual(export("tsv").splitlines()[2], "Bernd\tKöln, Rhein\t4")

    def test_files_and_refusals(self):
        r = run("db", "export", "p.ry-dbb", "--format", "sqlite", "--out", "p.sqlite")
        self.assertEqual((r.returncode, r.stdout), (0, "p.sqlite\n"), r.stderr)
        con = sqlite3.connect("p.sqlite")
        self.assertEqual(con.execute("SELECT NAME, AGE FROM entries ORDER BY rowid").fetchall(),
                         [("Anna", 30), ("Bernd", 4), ("Clara", None)])
        con.close()
        ok("db", "export", "p.ry-dbb", "--format", "csv", "--out", "p.csv")
        with open("p.csv", newline="", encoding="utf-8") as f:
            self.assertEqual(list(csv.reader(f))[2], ["Bernd", "Köln, Rhein", "4"])
        for fmt in ("sqlite", "xlsx", "pdf"):
            r = run("db", "export", "p.ry-dbb", "--format", fmt, "--out", "-")
            self.assertEqual((r.returncode, "standard output takes csv, tsv, json and jsonl only" in r.stderr,
                              os.path.exists("-")), (2, True, False), (fmt, r.stderr))
        r = run("db", "export", "p.ry-dbb", "--format", "csv", "--out", "nodir/p.csv")
        self.assertEqual((r.returncode, "nodir" in r.stderr), (1, True), r.stderr)

    def test_missing_or_broken_plugin_is_named(self):
        # The library alone in a folder, found first through LD_LIBRARY_PATH: the plug-ins beside it
        # are missing (pdf) or not a shared object (sqlite); the workbook needs none.
        lib = os.path.join(os.path.dirname(os.path.abspath(shutil.which(CLI) or CLI)), "librykel.so.0")
        if not os.path.exists(lib):
            self.skipTest("the program is not run from the build tree")
        # The program starts without the libraries of the plug-ins, the web server and ICU.
        r = run(env=dict(os.environ, LD_TRACE_LOADED_OBJECTS="1"))
        heavy = ("libcairo", "libpango", "libsqlite3", "libuno_", "libcpp-httplib", "libssl", "libicuuc")
        self.assertEqual([h for h in heavy if h in r.stdout], [])
        shutil.copy(lib, self.path("librykel.so.0"))
        broken = self.write("librykel_sqlite.so", "not a shared object")
        env = dict(os.environ, LD_LIBRARY_PATH=self.dir.name)
        for fmt, words in (("pdf", ["'%s'" % self.path("librykel_pdf.so"), "is missing", "#53"]),
                           ("sqlite", ["cannot load the plug-in '%s'" % broken, "#57"]), ("xlsx", [])):
            r = run("db", "export", "p.ry-dbb", "--format", fmt, "--out", "p." + fmt, env=env)
            self.assertEqual((r.returncode, os.path.exists("p." + fmt), [w for w in words if w not in r.stderr]),
                             (1 if words else 0, not words, []), (fmt, r.stderr))
