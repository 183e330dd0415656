"""rykel random: values one a line, counts, seeds and help."""
import unittest

from support import ok, run


class RandomCommandTest(unittest.TestCase):
    def test_seed_repeats_and_large_counts_flush(self):
        a, b, c = (ok("random", "{VORNAME} {NACHNAME}, {STRASSE}, {PLZ} {ORT}", "-n", "5000", "--seed", seed).stdout
                   for seed in ("99", "99", "100"))
        self.assertEqual((a == b, a.count("\n"), a == c), (True, 5000, False))

    def test_types_members_and_errors(self):
        res = run("random", "Farbe", "-t", "5", "--members", "rot,grün", "-n", "50", "--seed", "1")
        self.assertEqual((set(res.stdout.split()), run("random", "{WAS}").stdout, run("random", "PLZ", "-n", "0").stdout),
                         ({"rot", "grün"}, "ERR:WAS?\n", ""))
        self.assertTrue(run("random", "PLZ", "-n", "-3").returncode != 0 and run("random").returncode != 0)

