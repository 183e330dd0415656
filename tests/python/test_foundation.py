import datetime
import threading
import unittest

import rykel


class Foundation(unittest.TestCase):
    def test_items_and_threads(self):
        s = rykel.cls_Structure()
        s.ITEM_LET("a.b.c", 5)
        self.assertEqual([s.ITEM_GET(k, "dflt") for k in ("A.COUNT", "A.B.C", "missing")], [1, 5, "dflt"])
        sub = s.ITEM_GET("a.b")
        self.assertIsInstance(sub, rykel.cls_Structure)
        sub.ITEM_LET("d", "x")  # the handle shares the node
        self.assertEqual(s.ITEM_GET("a.b.d"), "x")
        result = {}

        def fresh():  # a new thread starts a new manager
            m = rykel.mdl_Global.SMAN_GET()
            result["ids"] = [m.Alloc() for _ in range(11)]

        t = threading.Thread(target=fresh)
        t.start()
        t.join()
        self.assertEqual(result["ids"], [1, 10, 9, 8, 7, 6, 5, 4, 3, 2, 11])

    def test_value_mapping(self):
        s = rykel.cls_Structure()
        when = datetime.datetime(2024, 2, 29, 10, 30, 5)
        values = {"i": 7, "big": 2**40, "f": 1.25, "t": "Grüße", "b": True, "n": None,
                  "null": rykel.NULL, "d": when}
        for k, v in values.items():
            s.ITEM_LET(k, v)
        # values and their Python types: 2**40 is beyond 32 bits, a Double
        got = {k: s.ITEM_GET(k) for k in values}
        self.assertEqual([(v, type(v)) for v in got.values()],
                         [(7, int), (float(2**40), float), (1.25, float), ("Grüße", str), (True, bool),
                          (None, type(None)), (rykel.NULL, type(rykel.NULL)), (when, datetime.datetime)])
        self.assertIs(got["null"], rykel.NULL)
        host = object()
        s.ITEM_LET("obj", host)  # any Python object travels as itself
        self.assertIs(s.ITEM_GET("obj"), host)

    def test_errors_carry_number_and_source(self):
        m = rykel.mdl_Global.SMAN_GET()
        with self.assertRaises(rykel.Error) as cm:
            m.Release(10**8)
        self.assertEqual((cm.exception.number, cm.exception.source), (9, "cls_StructureManager.Release"))
        seen = []
        rykel.SetErrorPolicy(lambda n, d, mod, op: seen.append((n, op)) or 0)  # continue
        try:
            self.assertIsNone(m.Release(10**8))
        finally:
            rykel.SetErrorPolicy(None)
        self.assertEqual(seen, [(9, "Release")])

    def test_globals(self):
        self.assertIs(rykel.STRUCT_GET(), rykel.STRUCTURE_GET())
        self.assertIs(rykel.sys_Global.STRUCT_GET(), rykel.STRUCT_GET())
        self.assertEqual([rykel.mdl_Global.FLAGSGLOBAL(1).ITEM_GET("STATUS.LEFT"), rykel.mdl_Global.hCBool("Falsch"),
                          rykel.mdl_Global.hIsDate("2024-02-29"), rykel.mdl_FileTools.FILEEXISTS("/"),
                          rykel.CreateObject("RyKEL.cls_Structure").TypeName(),
                          rykel.DBTOOL_GET().IDGENERATE("Müller & Söhne GmbH")],
                         ["Seite {PAGE} von {PAGES}", False, True, False, "cls_Structure", "MUELLERSOEHN"])

