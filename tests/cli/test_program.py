import os
import resource
import subprocess
import unittest

from support import CLI, ScratchTest, ok, run


class Program(ScratchTest):
    def test_help_version_and_classes(self):
        # (--help of every command: test_report.py)
        self.assertRegex(ok("--version").stdout, r"^rykel \d+\.\d+\.\d+")
        self.assertIn("RyKEL.cls_Structure", run("classes").stdout.split())

    def test_struct_set_prints_the_tree(self):
        self.assertEqual(ok("struct", "set", "person.name=Anna", "person.age=34", "x=1,5").stdout,
                         "PERSON {\n  NAME = Anna\n  AGE = 34\n}\nX = 1,5\n")

    def test_exit_codes_and_one_message(self):
        # 0 success, 1 runtime error, 2 usage error; every failure is one line on stderr.
        db, nope = self.new_db("a.ry-dbb", "ORT:STRING"), self.path("nope.db")
        cases = [
            (("bogus",), 2, "rykel: unknown command 'bogus'; commands: classes, struct, serialized, tree, db,"),
            (("db", "bogus"), 2, "rykel: unknown command 'db bogus'; commands of db: new, info, add,"),
            ((), 2, "rykel: a command is required: classes,"),
            (("db",), 2, "rykel: 'db' needs a command: new,"),
            (("db", "add"), 2, "rykel db add: DB is required"),
            (("render", "--nosuch", "-e", "x"), 2, "rykel render: The following argument was not expected: --nosuch"),
            (("random", "-n", "x"), 2, "rykel random: --count:"),
            (("struct", "set", "novalue"), 2, "rykel struct set:"),
            (("help", "nosuch"), 2, "rykel help: no topic 'nosuch'"),
            (("db", "new", db, "--field", "X:NOTATYPE"), 2, "rykel db new: expected ID:TYPE with a known type"),
            (("db", "show", nope), 1, "rykel db show: DB file '%s' does not exist" % nope),
            (("db", "add", nope, "ORT=x"), 1, "rykel db add: DB file '%s' does not exist" % nope),
            (("render", "--db", nope, "-e", "x"), 1, "rykel render: DB file '%s' does not exist" % nope),
            (("db", "set", db, "7", "ORT=x"), 1, "rykel db set: no entry 7"),
            (("serialized", "check", nope), 1, "rykel serialized check: File not found: '%s'" % nope),
        ]
        for args, code, message in cases:
            r = run(*args)
            self.assertEqual((r.returncode, len(r.stderr.splitlines()), r.stderr.startswith(message)), (code, 1, True),
                             (args, r.stderr))
        self.assertFalse(os.path.exists(nope))  # a write command never creates a missing database

    @unittest.skipIf("ASAN_OPTIONS" in os.environ, "a sanitizer's shadow memory does not fit under the cap")
    def test_out_of_memory_is_an_error_not_a_crash(self):
        # Endless input under a memory cap: one message and exit 1, never an abort (exit 134).
        def cap():
            resource.setrlimit(resource.RLIMIT_AS, (1 << 30, 1 << 30))

        for args in (("serialized", "check", "/dev/zero"), ("struct", "show", "/dev/zero")):
            r = subprocess.run([CLI, *args], capture_output=True, text=True, preexec_fn=cap, timeout=120)
            self.assertEqual((r.returncode, len(r.stderr.splitlines())), (1, 1), (args, r.stderr))



class Render(unittest.TestCase):
    def test_site_with_structure_and_includes(self):
        root = os.path.join(os.path.dirname(__file__), "..", "..", "examples", "site")
        r = ok("render", "--struct", "team=" + os.path.join(root, "data", "team.ser"), "-d", root,
               os.path.join(root, "pages", "index.kel"), "--errors")
        # the title comes from inc/header.kel
        for part in ("<title>Unser Team</title>", '<tr class="even"><td>Jörg Meier</td><td>Osnabrück</td>',
                     "<p>5 Mitglieder - ein großes Team.</p>"):
            self.assertIn(part, r.stdout)
        broken = run("render", "-d", root, os.path.join(root, "pages", "broken.kel"), "--errors")
        self.assertEqual((broken.returncode, "Could not include 'missing_page'" in broken.stderr,
                          ":4:4: <b>Cannot execute</b>: UNKNOWNCOMMAND 1 2" in broken.stderr), (1, True, True), broken.stderr)
