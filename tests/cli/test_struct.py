import json

from support import ScratchTest, ok, run


SCRIPT = 'NAME = "Anna"\r\nAGE = 7\r\nSUB {\r\n\tX = True\r\n\tL {\r\n\t\t[1] = 1\r\n\t\t[2] = 2.5\r\n\t}\r\n}\r\n'


class StructConvert(ScratchTest):
    def test_php_and_compact_forms(self):
        php = ok("struct", "convert", "--from", "script", "--to", "php", "-", stdin=SCRIPT)
        self.assertEqual(php.stdout, 'a:3:{s:4:"NAME";s:4:"Anna";s:3:"AGE";i:7;s:3:"SUB";'
                                     'a:2:{s:1:"X";b:1;s:1:"L";a:2:{s:0:"";i:1;s:0:"";d:2.5;}}}\n')
        compact = ok("struct", "convert", "--from", "php", "--to", "compact", "-", stdin=php.stdout)
        self.assertTrue(compact.stdout.startswith("QS1:"))
        back = run("struct", "convert", "--from", "compact", "--to", "json", "-", stdin=compact.stdout)
        self.assertEqual(json.loads(back.stdout), {"NAME": "Anna", "AGE": 7, "SUB": {"X": True, "L": [1, 2.5]}})
        script = run("struct", "convert", "--from", "json", "--to", "script", "-", stdin=back.stdout)
        self.assertEqual(script.stdout.replace("\r\n", "\n"), SCRIPT.replace("\r\n", "\n"))
        # nested arrays of a serialized text keep their items
        shown = run("struct", "show", "-", stdin='a:1:{s:3:"SUB";a:1:{s:1:"X";b:1;}}')
        self.assertEqual(shown.stdout, "SUB {\n  X = True\n}\n", shown.stderr)
        bad = run("struct", "show", "-", stdin="a:1:{s:3:")
        self.assertTrue(bad.returncode != 0 and "Serialized data invalid" in bad.stderr, bad.stderr)

    def test_files_errors_and_help(self):
        f = self.write("s.txt", SCRIPT)
        self.assertEqual(ok("struct", "show", "--from", "script", f).stdout,
                         "NAME = Anna\nAGE = 7\nSUB {\n  X = True\n  L {\n    [1] = 1\n    [2] = 2.5\n  }\n}\n")
        self.assertEqual(json.loads(run("struct", "show", "--from", "script", "--json", f).stdout)["AGE"], 7)
        for args, stdin, message in ((("show", self.path("missing.txt")), None, "missing.txt"),
                                     (("show", "--from", "script", "-"), "a {\n", "'}' expected (to close 'a' at line 1)"),
                                     (("convert", "--to", "xml", "-"), "", "")):
            r = run("struct", *args, stdin=stdin)
            self.assertTrue(r.returncode != 0 and message in r.stderr, (args, r.stderr))

