"""rykel render --autoescape, and `rykel help kel` showing the guide that opens docs/KEL.md."""
import os
import random
import shutil
import subprocess
import unittest

from support import ROOT, ScratchTest, run


class TestText(ScratchTest):
    def test_render_autoescape(self):
        page = "{VAR:x}|{TEXT:RAW VAR:x}|{TEXT:FORMAT 1234.5 '#,##0.00'}"
        r = run("render", "-e", page, "-v", "x=<b>&</b>")
        self.assertEqual((r.returncode, r.stdout), (0, "<b>&</b>|<b>&</b>|1.234,50"))
        r = run("render", "--autoescape", "-e", page, "-v", "x=<b>&</b>")
        self.assertEqual((r.returncode, r.stdout), (0, "&lt;b&gt;&amp;&lt;/b&gt;|<b>&</b>|1.234,50"))
        r = run("render", "-e", page, "-v", "x=<b>", "-s", "SYS.AUTOESCAPE=1", "-s", "SYS.LOCALE=en")
        self.assertEqual(r.stdout, "&lt;b&gt;|<b>|1,234.50")

    @unittest.skipUnless(shutil.which("php"), "needs php-cli")
    def test_format_and_round_agree_with_php(self):
        # PHP's number_format and round also read a double at 15 significant digits and round
        # halves away from zero: the same text for every value, ties such as 2.675 included.
        rnd = random.Random(5)
        values = []
        for _ in range(1500):
            kind = rnd.randrange(4)
            v = (rnd.uniform(-1e7, 1e7) if kind == 0 else round(rnd.uniform(-1000, 1000), 3) if kind == 1
                 else rnd.randint(-10**6, 10**6) / 1000 + 0.0005 if kind == 2 else rnd.uniform(0, 1))
            values.append(repr(v))
        page = self.write("f.kel", "".join('{TEXT:FORMAT "%s" "#,##0.00" en}|{TEXT:ROUND "%s" 2}|' % (v, v) for v in values))
        script = self.write("f.php", "<?php foreach ([%s] as $x) echo number_format($x, 2, '.', ','), '|', round($x, 2), '|';"
                            % ",".join(values))
        ours = run("render", "-s", "SYS.COMMANDS.MAX=100000", page).stdout.split("|")
        theirs = subprocess.run(["php", script], capture_output=True, text=True,  # no sanitizer runtime
                                env={k: v for k, v in os.environ.items() if k != "LD_PRELOAD"}).stdout.split("|")
        self.assertEqual(len(ours), 2 * len(values) + 1)
        self.assertEqual(ours[0::2], theirs[0::2])
        for v, a, b in zip(values, ours[1::2], theirs[1::2]):
            self.assertAlmostEqual(float(a), float(b), delta=abs(float(b)) * 1e-15, msg=v)

    def test_help_kel_shows_the_guide_of_the_document(self):
        with open(os.path.join(ROOT, "docs", "KEL.md"), encoding="utf-8") as f:
            doc = f.read()
        begin, end = "<!-- help kel: begin -->\n", "<!-- help kel: end -->"
        guide = doc[doc.index(begin) + len(begin):doc.index(end)]
        self.assertTrue("## Read this first" in guide and "## Cheat sheet" in guide)
        r = run("help", "kel")
        self.assertEqual((r.returncode, r.stdout.startswith("KEL templates\n\n")), (0, True))
        self.assertTrue(r.stdout.endswith("\n" + guide), "rebuild: the program embeds docs/KEL.md")

