import unittest

from support import ok, run


class TreeCommand(unittest.TestCase):
    def test_operations_print_their_result(self):
        r = ok("tree", "flatten", "--arg", "_", "a.b=1", "a.c=x", "d=2")
        self.assertEqual(r.stdout, "A_B = 1\nA_C = x\nD = 2\n")
        self.assertEqual(run("tree", "join", "--arg", "-", "a.b=1", "c=2").stdout, "1-2\n")
        self.assertEqual(run("tree", "idlist", "a.b=1", "c=2").stdout, "1 = A\n2 = C\n")
        self.assertEqual(run("tree", "restructure", "x.y=1").stdout, "X.Y = 1\n")
        self.assertEqual(run("tree", "increase", "--arg", "5", "n=1", "t=a").stdout, "N = 6\nT = a\n")
        sel = run("tree", "selection", "--arg", "en", "de=Deutsch", "en=English").stdout
        self.assertIn("2.SELECTED = True", sel)
        self.assertIn("1.SELECTED = False", sel)

    def test_assignments_read_numbers_as_struct_set_does(self):
        # one rule for KEY=VALUE: "." numbers are numbers (whole ones Long), "1,5" and words stay text
        self.assertEqual(run("tree", "increase", "--arg", "1", "a=1.5", "b=1,5", "c=7").stdout,
                         "A = 2.5\nB = 1,5\nC = 8\n")

    def test_bad_input_fails(self):
        self.assertNotEqual(run("tree", "shuffle", "a=1").returncode, 0)
        self.assertNotEqual(run("tree", "increase", "--arg", "many", "a=1").returncode, 0)
        self.assertNotEqual(run("tree", "flatten", "novalue").returncode, 0)

