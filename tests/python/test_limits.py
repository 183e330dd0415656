import unittest

import rykel


class LimitsTest(unittest.TestCase):
    def tearDown(self):
        rykel.mdl_Limits.RESET()

    def test_limits_by_name_and_their_errors(self):
        L = rykel.mdl_Limits
        self.assertEqual((L.LIMITS(), L.LIMIT_GET("structure.depth.max")),
                         (["STRUCTURE.DEPTH.MAX", "SERIALIZED.DEPTH.MAX", "INPUT.SIZE.MAX", "IMPORT.LINE.MAX"], 1000))
        with self.assertRaises(rykel.Error) as caught:
            L.LIMIT_LET("NO.SUCH", 1)
        self.assertEqual(caught.exception.number, 5)

        # a limit set from Python holds for the library (every limit and reader: mdl_Limits_test.cpp)
        L.LIMIT_LET("INPUT.SIZE.MAX", 10)
        self.assertTrue(rykel.cls_KEL().PROCESS("x" * 11).startswith("ERR:---Input too large"))

