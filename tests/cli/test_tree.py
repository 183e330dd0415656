import unittest

from support import ok, run


class TreeCommand(unittest.TestCase):
    def test_operations_print_their_result(self):
        self.assertEqual(ok("tree", "flatten", "--arg", "_", "a.b=1", "a.c=x", "d=2").stdout, "A_B = 1\nA_C = x\nD = 2\n")
        for args, out in ((("join", "--arg", "-", "a.b=1", "c=2"), "1-2\n"), (("idlist", "a.b=1", "c=2"), "1 = A\n2 = C\n"),
                          (("restructure", "x.y=1"), "X.Y = 1\n"), (("increase", "--arg", "5", "n=1", "t=a"), "N = 6\nT = a\n")):
            self.assertEqual(run("tree", *args).stdout, out, args)
        sel = run("tree", "selection", "--arg", "en", "de=Deutsch", "en=English").stdout
        self.assertTrue("2.SELECTED = True" in sel and "1.SELECTED = False" in sel, sel)

    def test_assignments_read_numbers_as_struct_set_does(self):
        # one rule for KEY=VALUE: "." numbers are numbers (whole ones Long), "1,5" and words stay text
        self.assertEqual(run("tree", "increase", "--arg", "1", "a=1.5", "b=1,5", "c=7").stdout,
                         "A = 2.5\nB = 1,5\nC = 8\n")

    def test_bad_input_fails(self):
        for args in (("shuffle", "a=1"), ("increase", "--arg", "many", "a=1"), ("flatten", "novalue")):
            self.assertNotEqual(run("tree", *args).returncode, 0, args)

