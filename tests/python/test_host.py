"""The Python host's conventions: None for optional arguments, the system's keyword names, the
manager's forwarded operations, text that is not UTF-8, hooks at interpreter exit, self-holding
structures."""
import os
import subprocess
import sys
import unittest

import rykel


def sample():
    s = rykel.cls_Structure()
    s.PARSE('NAME = "Anna"\nAGE = 7\nSUB {\n\tX = True\n}\n[9] = "nine"\n')
    return s


class NoneAndKeywords(unittest.TestCase):
    def test_none_means_the_default_for_every_optional_argument(self):
        s = sample()
        db = rykel.cls_DB()
        db.FIELDCREATE("NAME", rykel.ID_DBFieldType_String)
        for i, n in enumerate(("b", "c", "a"), 1):
            db.ENTRYFIELD_LET(i, "NAME", n)
        cases = [
            (lambda: db.ENTRYSORT("NAME", True, None), lambda: db.ENTRYSORT("NAME", True)),
            (lambda: s.TEXTSHORT(None), lambda: s.TEXTSHORT()),
            (lambda: s.JOIN(pGlue=None), lambda: s.JOIN()),
            (lambda: s.RESTRUCTURE(None).SERIALIZE(), lambda: s.RESTRUCTURE().SERIALIZE()),
            (lambda: s.VALUELISTTEXT(None, None, None, None), lambda: s.VALUELISTTEXT()),
            (lambda: s.ITEM_GET("AGE", None, None), lambda: s.ITEM_GET("AGE")),
            (lambda: s.SCRIPT(pIndentation=None), lambda: s.SCRIPT()),
            (lambda: s.MANAGER_GET().TEXTSHORT(s.SID_GET(), None), lambda: s.TEXTSHORT()),
        ]
        for with_none, without in cases:
            self.assertEqual(with_none(), without())
        # a default that is None stays None
        self.assertEqual((db.ENTRYSORT("NAME", True, None), s.ITEM_GET("NOPE", None)), ([2, 1, 3], None))

    def test_keyword_names_follow_the_interface(self):
        # (JOIN, FLATTEN, MOVE, SWAP, RENAME and INCREASE by keyword: test_structure_tree.py)
        s, other = sample(), sample()
        other.ITEM_LET("AGE", 8)
        self.assertEqual(s.DIFFERENCE(pDefaults=other).SERIALIZE(), 'a:1:{s:3:"AGE";i:7;}')
        self.assertEqual(s.VALUELISTTEXT(pDelimeter="/", pMaxCount=2, pStartI=0, pAdditional=""),
                         s.VALUELISTTEXT("/", 2, 0, ""))
        self.assertEqual((s.TEXTSHORT(pCut=5), s.SCRIPT(pIndentation=1), s.MENU(pMenu="").COUNT()),
                         (s.TEXTSHORT(5), s.SCRIPT(1), s.MENU("").COUNT()))
        self.assertEqual((s.ITEMBYID_GET(pItemID="NAME"), s.ITEM_GET(pKey=9, pForceIndex=True),
                          s.UNSERIALIZE2(rSerialData="i:5;", rIndex=0)), ("Anna", "nine", (5, 4)))


class ManagerOperations(unittest.TestCase):
    def test_the_manager_takes_every_forwarded_operation_with_a_node_id(self):
        m = rykel.mdl_Global.SMAN_GET()
        s = sample()
        sid = s.SID_GET()
        for name, args in (("SERIALIZE", ()), ("SERIALIZEBINARYCOUNT", ()), ("JOIN", (",",)), ("COUNTALL", ()),
                           ("ISEMPTY", ()), ("ID_GET", (1,)), ("EXISTSBYID_GET", ("NAME",)),
                           ("ITEMRECURSIVE_GET", ("X",)), ("TEXT", ()), ("ENCODE", ())):
            self.assertEqual(getattr(m, name)(sid, *args), getattr(s, name)(*args), name)
        t = rykel.cls_Structure()
        m.UNSERIALIZE(t.SID_GET(), s.SERIALIZE())
        self.assertEqual((m.COPY(pID=sid).SERIALIZE(), t.SERIALIZE()), (s.SERIALIZE(), s.SERIALIZE()))
        m.ITEMBYID_LET(sid, "NEW", 1)
        self.assertEqual(s.ITEM_GET("NEW"), 1)


class TextThatIsNotUtf8(unittest.TestCase):
    def test_latin1_text_comes_back_as_bytes(self):
        latin1 = b'a:2:{s:1:"A";s:2:"\xe4\xf6";s:1:"B";s:1:"\xc3\xbc";}'  # "äö" in Latin-1, "ü" in UTF-8
        s = rykel.cls_Structure()
        s.UNSERIALIZE(latin1)
        # not UTF-8 as a whole: bytes, unchanged
        self.assertEqual((s.SERIALIZE(), s.ITEM_GET("A"), s.ITEM_GET("B"), rykel.mdl_Global.SMAN_GET().SERIALIZE(s.SID_GET())),
                         (latin1, b"\xe4\xf6", "ü", latin1))
        t = rykel.cls_Structure()
        t.UNSERIALIZE(s.SERIALIZE())
        t.ITEM_LET("C", b"\xff")
        self.assertEqual((t.ITEM_GET("C"), t.ITEM_GET("A")), (b"\xff", b"\xe4\xf6"))
        with self.assertRaises(rykel.Error) as caught:  # an error quoting such text still reports
            s.PARSE(b"A = #\xe4#")
        self.assertEqual((str(caught.exception), caught.exception.description),
                         ("Script data invalid (line 1): invalid date '#\\xe4#'",
                          b"Script data invalid (line 1): invalid date '#\xe4#'"))
        s.REMOVE("A")
        self.assertEqual(s.SERIALIZE(), 'a:1:{s:1:"B";s:1:"ü";}')  # valid UTF-8 stays str


class Lifetimes(unittest.TestCase):
    def test_hooks_and_objects_left_at_exit_do_not_abort(self):
        code = ("import rykel\n"
                "rykel.SetErrorPolicy(lambda *a: 3)\n"
                "rykel.SetNotifier(lambda *a: 'OK')\n"
                "rykel.SetClipboard(lambda t: None)\n"
                "s = rykel.cls_Structure()\n"
                "s.ITEM_LET('HOST', object())\n"
                "rykel.mdl_Global.SMAN_GET()\n")
        r = subprocess.run([sys.executable, "-c", code], capture_output=True, text=True, env=os.environ.copy())
        self.assertEqual((r.returncode, r.stderr), (0, ""))

    def test_a_structure_that_holds_itself_is_freed_once_the_cycle_is_broken(self):
        m = rykel.mdl_Global.SMAN_GET()
        before = m.USAGE()
        s = rykel.cls_Structure()
        s.ITEM_SET("ME", s)
        s.ITEM_SET("CHILD", rykel.cls_Structure())
        s.ITEM_GET("CHILD").ITEM_SET("UP", s)
        self.assertGreater(m.USAGE(), before)
        s.RESIZE(0)  # the documented way out: drop the items, releasing what they hold
        del s
        self.assertEqual(m.USAGE(), before)

