"""rykel check: the line and JSON forms, exit status, standard input, folders and settings."""
import json
import os

from support import ScratchTest, run

SOURCE = os.path.join(os.path.dirname(__file__), "..", "..")


def check(*args, stdin=None):
    return run("check", *args, stdin=stdin)


class TestCheck(ScratchTest):
    def test_lines_json_and_status(self):
        good, bad = self.write("good.kel", "<p>{VAR:x}</p>\n"), self.write("bad.kel", "<p>Grüße\n {FRO i 1 2 1 {x}}}</p>\n")
        r = check(good)
        self.assertEqual((r.returncode, r.stdout, r.stderr, check(good, "--json").stdout), (0, "", "", "[]\n"))
        r = check(good, bad)
        self.assertEqual((r.returncode, r.stdout), (1, bad + ":2:3: unknown command 'FRO' (did you mean 'FOR'?)\n"
                                                    + bad + ":2:19: unmatched '}': it is printed as it is\n"))
        found = json.loads(check("--json", bad).stdout)
        self.assertEqual(found, [
            {"file": bad, "line": 2, "column": 3, "severity": "error",
             "message": "unknown command 'FRO' (did you mean 'FOR'?)"},
            {"file": bad, "line": 2, "column": 19, "severity": "warning",
             "message": "unmatched '}': it is printed as it is"}])
        # A file that cannot be read is a usage error (2) and the others are still checked.
        r = check(bad, self.path("missing.kel"))
        self.assertEqual((r.returncode, "unknown command 'FRO'" in r.stdout, "missing.kel" in r.stderr), (2, True, True))
        self.assertEqual((check().returncode, check("--bogus", good).returncode), (2, 2))

    def test_stdin_folders_settings_and_help(self):
        r = check("-", stdin='{INCLUDE header}{VAR x "a}')
        self.assertEqual((r.returncode, r.stdout),
                         (1, "<stdin>:1:2: Could not include 'header' (not found as given, under pages/ or inc/)\n"
                          '<stdin>:1:24: unclosed quote ": the text it stands in comes out empty\n'))
        site = os.path.join(SOURCE, "examples", "site")
        r = check("-d", site, "-", stdin="{INCLUDE header}")
        self.assertEqual((r.returncode, r.stdout), (0, ""))
        r = check("-", "-s", "SYS.COMMANDS.MAX=1", stdin="{VAR:a}{VAR:b}")
        self.assertEqual(r.stdout, "<stdin>:1:8: more than SYS.COMMANDS.MAX (1) commands in one text: "
                         "it comes out empty (move some into a BLOCK or an INCLUDE)\n")
        # The demo's pages as the demo renders them: nothing to report but the page built to fail.
        self.assertEqual(check("-d", site, os.path.join(site, "pages", "index.kel")).returncode, 0)
        r = check("-d", site, os.path.join(site, "pages", "broken.kel"))
        self.assertEqual((r.returncode, r.stdout.count("\n")), (1, 3))
        self.assertIn("Exit status: 0 nothing found, 1 something found, 2", check("--help").stdout)

