"""Databases of the program never lose data: each has its own header, writers take turns, and
failures say what went wrong. Links, permissions and stale temporary files are in FileIO_test.cpp."""
import os
import subprocess
import unittest

from support import ScratchTest, ok, run
from concurrent.futures import ThreadPoolExecutor


class DbFilesTest(ScratchTest):
    def test_each_database_keeps_its_own_header(self):
        a = self.new_db("a.ry-dbb", "NAME:STRING")
        b = self.new_db("b.db", "AGE:LONG")
        self.assertEqual([os.path.exists(self.path(h)) for h in ("a.header", "b.header", "info.header")], [True, True, False])
        self.assertTrue("NAME\tSTRING" in run("db", "info", a).stdout and "AGE\tLONG" in run("db", "info", b).stdout)
        # a second new never replaces a schema or a database silently
        run("db", "add", a, "NAME=Anna")
        for target in (a, self.path("a.ry-db")):  # the database itself, or another file sharing its header
            r = run("db", "new", target, "--field", "X:LONG")
            self.assertEqual(r.returncode, 1)
            self.assertIn("exists already; --force replaces it", r.stderr)
        self.assertEqual(run("db", "show", a).stdout, "1\tNAME=Anna\n")
        ok("db", "new", a, "--field", "X:LONG", "--force")
        info = run("db", "info", a).stdout
        self.assertTrue(info.count("Entries: 0") == 1 and "X\tLONG" in info, info)

    def test_two_processes_adding_keep_every_entry_under_its_own_id(self):
        db = self.new_db("c.ry-dbb", "N:LONG")

        def adds(n):
            return [run("db", "add", db, "N=%d" % n) for _ in range(30)]

        with ThreadPoolExecutor(2) as pool:
            results = sum(pool.map(adds, (1, 2)), [])
        self.assertTrue(all(r.returncode == 0 for r in results), [r.stderr for r in results if r.returncode])
        self.assertEqual(len({r.stdout.strip() for r in results}), 60)
        self.assertIn("Entries: 60", run("db", "info", db).stdout)

    def test_odd_files_and_failures_say_what_is_wrong(self):
        db = self.new_db("e.ry-dbb", "NAME:STRING")
        for fmt in ("htm", "xlsx", "pdf", "bat"):
            out = self.path("nodir/out." + fmt)
            r = run("db", "export", db, "--format", fmt, "--out", out)
            self.assertEqual(r.returncode, 1, fmt)
            self.assertTrue("Folder '%s' does not exist" % self.path("nodir") in r.stderr and "permissions" not in r.stderr,
                            r.stderr)
        self.assertFalse(os.path.exists(self.path("nodir")))
        run("db", "add", db, "NAME=Anna")
        for _ in range(2):  # an export replaces the database file it writes, without deleting it first
            ok("db", "export", db, "--format", "db", "--out", self.path("copy.ry-dbb"))
        self.assertEqual(run("db", "show", self.path("copy.ry-dbb")).stdout, "1\tNAME=Anna\n")

    @unittest.skipUnless(os.geteuid() == 0, "mounting a small file system needs root")
    def test_a_full_disk_says_so(self):
        small = self.path("small")
        os.mkdir(small)
        if subprocess.run(["mount", "-t", "tmpfs", "-o", "size=256k", "tmpfs", small],
                          capture_output=True).returncode != 0:
            self.skipTest("cannot mount a tmpfs here")
        self.addCleanup(subprocess.run, ["umount", small])
        db = os.path.join(small, "f.ry-dbb")
        ok("db", "new", db, "--field", "NAME:STRING", "--field", "ORT:STRING")
        ok("db", "add", db, "NAME=keep")
        with open(db, "rb") as f:
            before = f.read()
        r = run("db", "fill", db, "-n", "20000")
        self.assertEqual((r.returncode, "cannot save '%s': Disk full: " % db in r.stderr), (1, True), r.stderr)
        with open(db, "rb") as f:
            self.assertEqual(f.read(), before)
        self.assertEqual(sorted(os.listdir(small)), ["f.header", "f.ry-dbb", "f.ry-dbb.lock"])
        big = self.new_db("big.ry-dbb", "NAME:STRING", "ORT:STRING")
        ok("db", "fill", big, "-n", "10000")
        st = os.statvfs(small)  # leave 16 KB free: less than any of the exports needs
        with open(os.path.join(small, "filler"), "wb") as f:
            f.write(b"x" * (st.f_bavail * st.f_frsize - 16384))
        for fmt in ("xlsx", "htm", "pdf"):
            r = run("db", "export", big, "--format", fmt, "--out", os.path.join(small, "o." + fmt))
            self.assertEqual(r.returncode, 1, fmt)
            self.assertTrue("Disk full: " in r.stderr and "'%s'" % os.path.join(small, "o." + fmt) in r.stderr, r.stderr)
        self.assertEqual(len(os.listdir(small)), 4)

