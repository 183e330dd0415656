"""Whole-tree operations, the structure tools and the collections, from a Python host."""
import unittest

import rykel


def make(*pairs):
    s = rykel.cls_Structure()
    for key, value in pairs:
        if key:
            s.ITEM_LET(key, value)
        else:
            s.ADD(value)
    return s


class TreeOperations(unittest.TestCase):
    def test_join_merge_and_chaining(self):
        a = make(("name", "Anna"), ("cfg.x", 1), ("", "first"))
        b = make(("name", "Berta"), ("cfg.y", 2))
        self.assertIs(a.MERGE(b), a)
        c = make(("x", 1), ("y", 2))
        self.assertIs(c.SELF(), c)
        self.assertIs(c.INCREASE(pKey="n").SWAP(1, 2).DECREASE(2, "n"), c)
        self.assertEqual((c.JOIN(pGlue=","), a.JOIN(pGlue=",")), ("2,1,-1", "Berta,1,2,first"))
        a.MERGE(b, pPrefix="old.")
        self.assertEqual(a.ITEM_GET("OLD.CFG.Y"), 2)
        with self.assertRaises(Exception):
            a.MERGE(None)

    def test_copy_flatten_restructure(self):
        s = make(("a.b", 1), ("a.c", "x"), ("e", 2.5))
        c = s.COPY()
        c.ITEM_LET("a.b", 9)
        self.assertEqual((c.IDENTICAL(s), s.ITEM_GET("A.B")), (False, 1))
        flat = s.FLATTEN(pConvertStructChar="_")
        back = flat.RESTRUCTURE(pConvertToStructChar="_")
        self.assertEqual((flat.ITEM_GET("A_C"), back.JOIN(","), back.ITEM_GET("A.COUNT")), ("x", s.JOIN(","), 2))

    def test_lists_difference_update(self):
        s = make(("a", 1), ("b.c", 2), ("", "x"))
        d = s.DIFFERENCE(make(("a", 1), ("b.c", 3)))
        self.assertEqual((s.LINEAR().JOIN(","), s.IDLIST().JOIN(","), d.FLATTEN().JOIN(",")), ("1,2,x", "A,B,3", "2,x"))
        s.UPDATE(make(("a", 5), ("zz", 1)))
        self.assertEqual((s.ITEM_GET("A"), s.EXISTS_GET("ZZ")), (5, False))

    def test_reorder_rename_increase(self):
        s = make(("a", 1), ("b", 2), ("c", 3))
        s.MOVE(pIndex=3, pMoveTo=1).SWAP(pI1=2, pI2=3)
        self.assertEqual(s.IDLIST().JOIN(","), "C,B,A")
        self.assertEqual((s.RENAME(pOldID="c", pNewID="d"), s.ITEM_GET("D")), (True, 3))
        s.INCREASE(pIncreaseBy=10).DECREASE(1, pKey="d")
        self.assertEqual([s.ITEM_GET(k) for k in ("D", "B", "A")], [12, 12, 11])
        with self.assertRaises(Exception):
            s.MOVE(0, 1)

    def test_menu_selection_clipboard(self):
        s = make(("de", "Deutsch"), ("en", "English"))
        sel = s.SELECTION("en")
        self.assertEqual(sel.ITEM_GET(2).ITEM_GET("SELECTED"), True)
        menu = make(("file.open", "Öffnen")).MENU(pMenu="file.open")
        self.assertEqual(menu.ITEM_GET(1).ITEM_GET("SUB").ITEM_GET(1).ITEM_GET("TEXT"), "Öffnen")
        got = []
        rykel.SetClipboard(got.append)
        self.assertEqual((s.COPYCLIPBOARD(), got), ("DE = Deutsch\r\nEN = English", ["DE = Deutsch\r\nEN = English"]))
        rykel.SetClipboard(None)
        make(("x", "")).COPYCLIPBOARDNOTEMPTY()
        self.assertEqual(rykel.ClipboardText(), "")


class ToolsAndCollections(unittest.TestCase):
    def test_create(self):
        t = rykel.cls_StructureTools()
        self.assertEqual(t.CREATE().COUNT(), 0)
        s = t.CREATE("name", "Anna", "", "numbered")
        self.assertEqual((s.ITEM_GET("NAME"), s.ITEM_GET(2), t.CREATE(s).IDENTICAL(s)), ("Anna", "numbered", True))
        # a plain value is a structure literal, read by the interpreter's STRUCT command
        lit = t.CREATE('A=1 B="x y"')
        self.assertEqual((lit.ITEM_GET("A"), lit.ITEM_GET("B")), (1, "x y"))
        self.assertIn("{STRUCT (}", t.CREATE("(").ITEM_GET("ERROR"))
        c = rykel.CreateObject("RyKEL.cls_Collection")
        c.Add("Anna", "first")
        c.Add(3)
        from_c = t.CREATE(c)
        self.assertEqual((from_c.ITEM_GET("FIRST"), from_c.ITEM_GET(2)), ("Anna", 3))
        self.assertEqual((t.ISSTRUCT(s), t.ISSTRUCT(c), t.ISFILLEDSTRUCT(t.CAST(5))), (True, False, False))

    def test_collections(self):
        c = rykel.cls_Collection()
        c.Add("a", pKey="One")
        c.Add("b")
        self.assertEqual((c.Item("one"), len(c)), ("a", 2))
        with self.assertRaises(Exception):
            c.Add("x", "ONE")
        c.Remove("one")
        self.assertEqual(c.Item(1), "b")
        v, n = rykel.cls_CollectionValues(), rykel.cls_CollectionInt()
        v.Add(1.5)
        n.Add("41")
        self.assertEqual((v.Item(1), n.Item(1), n.Exists(41)), (1.5, 41, True))
        for name in ("cls_Collection", "cls_CollectionValues", "cls_CollectionInt"):
            self.assertEqual(type(rykel.CreateObject(name)).__name__, name)

