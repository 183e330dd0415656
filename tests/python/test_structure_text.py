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
        self.assertEqual([back.ITEM_GET(k, "dflt") for k in ("when", "code", "lines", "ratio", "nothing")],
                         [datetime.datetime(2024, 5, 1, 12, 30), "007", "a\r\nb", 0.1 + 0.2, None])
        self.assertEqual(s.SCRIPTNOTEMPTY(pIndentation=1).count("NOTHING"), 0)

    def test_parse_errors(self):
        s = rykel.cls_Structure()
        with self.assertRaises(rykel.Error) as cm:
            s.PARSE("a {\nb = 1\n")
        self.assertEqual((cm.exception.number, cm.exception.source), (1000, "cls_StructureManager.PARSE"))
        self.assertIn("'}' expected (to close 'a' at line 1)", cm.exception.description)
        with self.assertRaises(rykel.Error):
            s.PARSE("x {\n" * 2000)


class TextForms(unittest.TestCase):
    def test_forms(self):
        s = sample()
        cases = [(s.TEXT(), "NAME: Anna\r\nAGE: 7\r\nSUB:\r\n  X: True"),
                 (s.TEXTSHORT(pCut=12), "NAME: Ann..."),
                 (s.TEXTVALUES(pDelimeter=", "), "Anna, 7, True"),
                 (s.HTML(), "<ul><li><b>NAME</b>: Anna</li><li><b>AGE</b>: 7</li>"
                            "<li><b>SUB</b><ul><li><b>X</b>: True</li></ul></li></ul>"),
                 (s.PARAMETERS(pDelimeter="; "), "NAME=Anna; AGE=7; SUB=(X: True)"),
                 (s.PARAMETERSSTRUCTURED(), "NAME=Anna&AGE=7&SUB.X=True"),
                 (s.PARAMETERSSTRUCTUREDINDENT(pIndent="  ", pDelimeter="\n"), "NAME=Anna\nAGE=7\n  SUB.X=True")]
        for got, want in cases:
            self.assertEqual(got, want)
        c = rykel.cls_Structure()
        for v in ("red", "green", "blue"):
            c.ADD(v)
        self.assertEqual((c.VALUELISTTEXT(pDelimeter=", ", pMaxCount=2, pAdditional=" ..."), c.VALUELISTTEXT(pStartI=3)),
                         ("red, green ...", "blue"))

    def test_encode_decode(self):
        s = sample()
        s.ITEM_LET("query", "a&b=c d")
        s.ITEM_LET("zip", "01067")
        enc = s.ENCODE()
        self.assertEqual(enc, "NAME=Anna&AGE=7&SUB.X=True&QUERY=a%26b%3Dc%20d&ZIP=%2201067%22")
        back = rykel.cls_Structure()
        back.DECODE(enc)
        self.assertEqual((back.SCRIPT(), back.ITEM_GET("zip")), (s.SCRIPT(), "01067"))

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
        self.assertEqual((back.LOADSIGNATURE(f, "My Data", pVersionMin=1, pVersionMax=3), back.SCRIPT()), (True, s.SCRIPT()))
        with self.assertRaises(rykel.Error):
            back.LOADSIGNATURE(f, "My Data", pVersionMin=4)
        self.assertEqual((s.SAVE(f), back.LOAD(f), back.LOADEX(self.path("missing.txt"))), (True, True, False))
        with self.assertRaises(rykel.Error) as cm:
            back.SAVE(self.path("no", "such.txt"))
        self.assertEqual((cm.exception.number, os.listdir(self.dir.name)), (76, ["s.txt"]))

