"""rykel random: values one a line, counts, seeds and help."""
import unittest

from support import run


class RandomCommandTest(unittest.TestCase):
    def test_seed_repeats_and_large_counts_flush(self):
        a = run("random", "{VORNAME} {NACHNAME}, {STRASSE}, {PLZ} {ORT}", "-n", "5000", "--seed", "99")
        b = run("random", "{VORNAME} {NACHNAME}, {STRASSE}, {PLZ} {ORT}", "-n", "5000", "--seed", "99")
        self.assertEqual(a.returncode, 0, a.stderr)
        self.assertEqual(a.stdout, b.stdout)
        self.assertEqual(a.stdout.count("\n"), 5000)
        c = run("random", "{VORNAME} {NACHNAME}, {STRASSE}, {PLZ} {ORT}", "-n", "5000", "--seed", "100")
        self.assertNotEqual(a.stdout, c.stdout)

    def test_types_members_and_errors(self):
        res = run("random", "Farbe", "-t", "5", "--members", "rot,grün", "-n", "50", "--seed", "1")
        self.assertEqual(set(res.stdout.split()), {"rot", "grün"})
        self.assertEqual(run("random", "{WAS}").stdout, "ERR:WAS?\n")
        self.assertEqual(run("random", "PLZ", "-n", "0").stdout, "")
        self.assertNotEqual(run("random", "PLZ", "-n", "-3").returncode, 0)
        self.assertNotEqual(run("random").returncode, 0)

