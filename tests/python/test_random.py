"""Random test data from Python: RANDOM, RANDOMIZE and the helpers under the system's names."""
import os
import re
import unittest

import rykel

HERE = os.path.dirname(os.path.abspath(__file__))
API_MD = os.path.join(HERE, "..", "..", "docs", "API.md")


class RandomTest(unittest.TestCase):
    def setUp(self):
        self.tool = rykel.DBTOOL_GET()

    def test_patterns_and_names(self):
        # the shapes themselves: cls_DBToolRandom_test.cpp and the documented examples below
        self.tool.RANDOMIZE(42)
        self.assertRegex(self.tool.RANDOM("{D*5}", 1), r"^[0-9]{5}$")
        self.assertRegex(self.tool.RANDOM(pFieldOrPattern="E-MAIL"), r"^[a-z0-9._-]+@[a-z0-9_.-]+\.[a-z]{2,3}$")
        self.assertEqual(self.tool.RANDOM("x{NIX}y"), "xERR:NIX?y")
        self.assertIn(self.tool.RANDOM("Farbe", pType=5, pMembers="rot,blau"), ("rot", "blau"))

    def test_seed_reproduces_values(self):
        # (the same seed, the same values for every generator: cls_DBToolRandom_test.cpp)
        # A tool created by name draws from the same per-thread sequence.
        other = rykel.CreateObject("cls_DBTool")
        self.tool.RANDOMIZE(7)
        a = self.tool.RANDOM("{D*12}")
        other.RANDOMIZE(7)
        self.assertEqual(a, other.RANDOM("{D*12}"))
        self.tool.RANDOMIZE()  # fresh sequence again

    def test_helpers(self):
        t = self.tool
        t.RANDOMIZE(1)
        self.assertIn(t.hRand(1, 3), (1, 2, 3))
        for drawn, chars in ((t.VOWEL(), "aeiou"), (t.DIGIT(), "0123456789"), (t.CONSONANT(), "bcdfghjklmnpqrstvwxyz"),
                             (t.CHAR(), "abcdefghijklmnopqrstuvwxyz")):
            self.assertRegex(drawn, "^[" + chars + "]$")
        self.assertEqual((type(t.hFifty()), t.hWordsToLettersSub("AB,CD")), (bool, ["AB", "CD"]))

    def test_documented_examples(self):
        # Every row of the examples table in docs/API.md: the call's result has the stated shape,
        # and so has the example value shown.
        with open(API_MD, encoding="utf-8") as f:
            doc = f.read()
        block = doc.split("<!-- random-examples -->")[1]
        rows = re.findall(r"^\| `RANDOM\((.+?)\)` \| `(.*?)` \| `(.+?)` \|$", block, re.M)
        self.assertGreater(len(rows), 10)
        self.tool.RANDOMIZE(3)
        for args, example, shape in rows:
            shape = shape.replace("\\|", "|")  # a pipe inside a table cell is written "\|"
            call = eval("lambda t: t.RANDOM(" + args + ")")  # the row's arguments as written
            self.assertRegex(example, "^(?:" + shape + ")$", args)
            for _ in range(200):
                self.assertRegex(call(self.tool), "^(?:" + shape + ")$", args)

