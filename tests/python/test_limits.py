import unittest

import rykel


class LimitsTest(unittest.TestCase):
    def tearDown(self):
        rykel.mdl_Limits.RESET()

    def test_limits_by_name_and_their_errors(self):
        L = rykel.mdl_Limits
        self.assertEqual(L.LIMITS(), ["STRUCTURE.DEPTH.MAX", "SERIALIZED.DEPTH.MAX", "INPUT.SIZE.MAX", "IMPORT.LINE.MAX"])
        self.assertEqual(L.LIMIT_GET("structure.depth.max"), 1000)
        with self.assertRaises(rykel.Error) as caught:
            L.LIMIT_LET("NO.SUCH", 1)
        self.assertEqual(caught.exception.number, 5)

        L.LIMIT_LET("STRUCTURE.DEPTH.MAX", 3)
        s = rykel.cls_Structure()
        s.PARSE("A {\n B {\n C = 1\n }\n}\n")
        with self.assertRaises(rykel.Error) as caught:
            s.PARSE("A.B.C.D = 1")
        self.assertEqual(caught.exception.number, 1000)
        self.assertIn("nested deeper than 3 levels", caught.exception.description)

        L.LIMIT_LET("INPUT.SIZE.MAX", 10)
        with self.assertRaises(rykel.Error) as caught:
            s.UNSERIALIZE('a:1:{s:1:"X";s:5:"hello";}')
        self.assertIn("INPUT.SIZE.MAX", caught.exception.description)
        k = rykel.cls_KEL()
        self.assertTrue(k.PROCESS("x" * 11).startswith("ERR:---Input too large"))


if __name__ == "__main__":
    unittest.main()
