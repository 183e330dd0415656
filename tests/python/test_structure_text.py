import datetime
import os
import unittest

import rykel
from support import ScratchTest


def sample():
    s = rykel.cls_Structure()
    s.ITEM_LET("name", "Anna")
    s.ITEM_LET("age", 7)
    s.ITEM_LET("sub.x", True)
    return s


class ScriptForm(unittest.TestCase):
    def test_script_round_trip_keeps_types(self):
        s = sample()
        s.ITEM_LET("when", datetime.datetime(2024, 5, 1, 12, 30))
        s.ITEM_LET("code", "007")
        s.ITEM_LET("lines", "a\r\nb")
        s.ITEM_LET("ratio", 0.1 + 0.2)
        s.ITEM_LET("nothing", None)
        text = s.SCRIPT()
        self.assertTrue(text.startswith('NAME = "Anna"\r\nAGE = 7\r\nSUB {\r\n\tX = True\r\n}\r\n'))
        back = rykel.cls_Structure()
        back.PARSE(text)
        self.assertEqual(back.SCRIPT(), text)
        self.assertEqual(back.ITEM_GET("when"), datetime.datetime(2024, 5, 1, 12, 30))
        self.assertEqual(back.ITEM_GET("code"), "007")
        self.assertEqual(back.ITEM_GET("lines"), "a\r\nb")
        self.assertEqual(back.ITEM_GET("ratio"), 0.1 + 0.2)
        self.assertIsNone(back.ITEM_GET("nothing", "dflt"))
        self.assertEqual(s.SCRIPTNOTEMPTY(pIndentation=1).count("NOTHING"), 0)

    def test_parse_errors(self):
        s = rykel.cls_Structure()
        with self.assertRaises(rykel.Error) as cm:
            s.PARSE("a {\nb = 1\n")
        self.assertEqual(cm.exception.number, 1000)
        self.assertEqual(cm.exception.source, "cls_StructureManager.PARSE")
        self.assertIn("'}' expected (to close 'a' at line 1)", cm.exception.description)
        with self.assertRaises(rykel.Error):
            s.PARSE("x {\n" * 2000)


class TextForms(unittest.TestCase):
    def test_forms(self):
        s = sample()
        self.assertEqual(s.TEXT(), "NAME: Anna\r\nAGE: 7\r\nSUB:\r\n  X: True")
        self.assertEqual(s.TEXTSHORT(pCut=12), "NAME: Ann...")
        self.assertEqual(s.TEXTVALUES(pDelimeter=", "), "Anna, 7, True")
        self.assertEqual(s.HTML(), "<ul><li><b>NAME</b>: Anna</li><li><b>AGE</b>: 7</li>"
                                   "<li><b>SUB</b><ul><li><b>X</b>: True</li></ul></li></ul>")
        self.assertEqual(s.PARAMETERS(pDelimeter="; "), "NAME=Anna; AGE=7; SUB=(X: True)")
        self.assertEqual(s.PARAMETERSSTRUCTURED(), "NAME=Anna&AGE=7&SUB.X=True")
        self.assertEqual(s.PARAMETERSSTRUCTUREDINDENT(pIndent="  ", pDelimeter="\n"),
                         "NAME=Anna\nAGE=7\n  SUB.X=True")
        c = rykel.cls_Structure()
        for v in ("red", "green", "blue"):
            c.ADD(v)
        self.assertEqual(c.VALUELISTTEXT(pDelimeter=", ", pMaxCount=2, pAdditional=" ..."), "red, green ...")
        self.assertEqual(c.VALUELISTTEXT(pStartI=3), "blue")

    def test_encode_decode(self):
        s = sample()
        s.ITEM_LET("query", "a&b=c d")
        s.ITEM_LET("zip", "01067")
        enc = s.ENCODE()
        self.assertEqual(enc, "NAME=Anna&AGE=7&SUB.X=True&QUERY=a%26b%3Dc%20d&ZIP=%2201067%22")
        back = rykel.cls_Structure()
        back.DECODE(enc)
        self.assertEqual(back.SCRIPT(), s.SCRIPT())
        self.assertEqual(back.ITEM_GET("zip"), "01067")

    def test_manager_forms(self):
        s = sample()
        m = s.MANAGER_GET()
        self.assertEqual(m.TEXTSHORT(s.SID_GET()), "NAME: Anna, AGE: 7, SUB: (X: True)")
        m.PARSE(s.SID_GET(), "extra = 1")
        self.assertEqual(s.ITEM_GET("extra"), 1)


class Files(ScratchTest):
    def test_save_load_signature(self):
        f = self.path("s.txt")
        s = sample()
        self.assertTrue(s.SAVESIGNATURE(f, "My Data", 3))
        with open(f, encoding="utf-8", newline="") as fh:
            self.assertEqual(fh.readline(), "// My Data\r\n")
        back = rykel.cls_Structure()
        self.assertTrue(back.LOADSIGNATURE(f, "My Data", pVersionMin=1, pVersionMax=3))
        self.assertEqual(back.SCRIPT(), s.SCRIPT())
        with self.assertRaises(rykel.Error):
            back.LOADSIGNATURE(f, "My Data", pVersionMin=4)
        self.assertTrue(s.SAVE(f))
        self.assertTrue(back.LOAD(f))
        self.assertFalse(back.LOADEX(self.path("missing.txt")))
        with self.assertRaises(rykel.Error) as cm:
            back.SAVE(self.path("no", "such.txt"))
        self.assertEqual(cm.exception.number, 76)
        self.assertEqual(os.listdir(self.dir.name), ["s.txt"])

