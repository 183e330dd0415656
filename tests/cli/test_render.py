"""rykel render: files and -e text, directories, variables, settings, the error list and exit status."""
import os
import subprocess
import unittest

from support import CLI, ScratchTest


def render(*args, stdin=None):
    return subprocess.run([CLI, "render", *args], capture_output=True, text=True, input=stdin)


class TestRender(ScratchTest):
    def test_expression_variables_settings(self):
        r = render("-e", "{VAR:name} hat {(n * 2)} Äpfel", "-v", "name=Anna", "-v", "n=3")
        self.assertEqual((r.returncode, r.stdout), (0, "Anna hat 6 Äpfel"))

    def test_errors_and_status(self):
        r = render("-e", "a\n {VAR:nope}")  # the message in plain text, once
        self.assertEqual((r.returncode, r.stdout, r.stderr),
                         (1, "a\n ERR:---VAR not found: nope---", "<text>:2:2: VAR not found: nope\n"))
        r = render("-e", "a\n {VAR:nope}", "--errors")
        self.assertEqual((r.returncode, r.stderr), (1, "<text>:2:2: <b>VAR not found</b>: nope<br/>\n"))
        r = render("-e", "a\n {VAR:nope}", "--quiet")
        self.assertEqual((r.returncode, r.stdout, r.stderr), (1, "a\n ERR:---VAR not found: nope---", ""))

    def test_pages_cut_short_are_never_silent(self):
        page = self.write("many.kel", "{VAR a 1}" * 101)
        cases = [
            ([page], page + ":1:901: Not parseable: (VAR a 1)\n"),
            (["-e", "{VAR a 1}\n" * 101], "<text>:101:1: Not parseable: (VAR a 1) \n"),  # its line end: a blank
            (["-e", "{FOR i 1 5 1 {x}}", "-s", "SYS.LOOP.MAX=2"], "<text>:1:1: Loop limit reached: FOR i 1 5 1 (x)\n"),
        ]
        for args, stderr in cases:
            r = render(*args)
            self.assertEqual((r.returncode, r.stderr), (1, stderr), args)
            self.assertEqual(render("--quiet", *args).stderr, "")
        self.assertEqual(render(page).stdout, "")  # the output itself stays as it was

    def test_master_later_and_one_message_per_failure(self):
        r = render("-e", "a{MASTER missing}hello")
        self.assertEqual((r.returncode, r.stdout, r.stderr), (1, "ahello", "<text>:1:2: Could not include 'missing'\n"))
        # The "Later" notice is information, printed only with RYKEL_LOG=info: Error_test.cpp.
        env = {k: v for k, v in os.environ.items() if k not in ("RYKEL_QUIET", "RYKEL_LOG")}
        self.assertEqual(subprocess.run([CLI, "render", "-e", "{LATER {VAR a 1}}x"], capture_output=True, text=True,
                                        env=env).stderr, "")
        r = subprocess.run([CLI, "render", "--struct", "s=" + self.write("bad.ser", "a:1:{\n"), "-e", "x"],
                           capture_output=True, text=True, env=env)
        self.assertEqual((r.returncode, len(r.stderr.splitlines()), "Fehler" in r.stderr), (1, 1, False), r.stderr)

    @unittest.skipIf("ASAN_OPTIONS" in os.environ, "a sanitizer's shadow memory does not fit under the cap")
    def test_memory_does_not_grow_per_nesting_level(self):
        # 512 KB of nested braces and 1 MB under 40 nested blocks cost hundreds of MB when every
        # level copied the text; under a 130 MB address space they must still render.
        import resource
        cap = lambda: resource.setrlimit(resource.RLIMIT_AS, (130 << 20, 130 << 20))
        nested = self.write("nested.kel", "{" * (256 << 10) + "}" * (256 << 10))
        blocks = self.write("blocks.kel", "{IF 1 {{VAR:b}" * 40 + "x" * (1 << 20) + "}}" * 40)
        r = subprocess.run([CLI, "render", nested], capture_output=True, text=True, preexec_fn=cap)
        self.assertEqual((r.returncode, nested + ":1:1: Nesting too deep: (((" in r.stderr), (1, True), r.stderr[-300:])
        r = subprocess.run([CLI, "render", "-v", "b={COMMENT}", blocks], capture_output=True, text=True,
                           preexec_fn=cap)
        self.assertEqual((r.returncode, r.stdout), (0, "x" * (1 << 20)), r.stderr[-300:])

    def test_file_and_directories(self):
        os.makedirs(self.path("lib/inc"))
        self.write("lib/inc/foot.kel", "[{VAR:who}]")
        self.write("head.kel", "<h>")
        page = self.write("page.kel", "{INCLUDE head}body{INCLUDE foot}")
        r = render(page, "-d", self.path("lib"), "-v", "who=me")
        self.assertEqual((r.returncode, r.stdout), (0, "<h>body[me]"))
        r = render(page, "--errors")  # the main template's place names its file
        self.assertEqual((r.returncode, r.stdout, "Could not include 'foot'" in r.stderr, page + ":1:" in r.stderr),
                         (1, "<h>body", True, True), r.stderr)
        self.assertEqual(render("-", stdin="{VAR x 1}{VAR:x}").stdout, "1")

    def test_usage_errors(self):
        for args in ((), ("-e", "x", "-v", "novalue"), ("/nonexistent/file.kel",)):
            self.assertNotEqual(render(*args).returncode, 0, args)

