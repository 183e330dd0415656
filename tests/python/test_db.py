import datetime

import rykel
from support import ScratchTest


class DatabaseTest(ScratchTest):
    def setUp(self):
        super().setUp()
        self.header = self.path("info.header")

    def make(self, name):
        db = rykel.cls_DB()
        db.FIELDCREATE("NAME", rykel.ID_DBFieldType_String, "Name").INDEXED = True
        db.FIELDCREATE("AGE", rykel.ID_DBFieldType_Long)
        db.FIELDCREATE("BORN", rykel.ID_DBFieldType_Date)
        db.FIELDCREATE("SCORE", rykel.ID_DBFieldType_Double)
        self.assertTrue(db.HEADERSAVE(self.header))
        path = self.path(name)
        self.assertTrue(db.DBOPEN(path, self.header, False))
        return db, path

    def test_create_save_reopen_both_forms(self):
        for name in ("people.ry-dbb", "people.db"):
            db, path = self.make(name)
            first = db.ENTRYFREEID()
            db.ENTRYADD(first)
            for field, value in (("NAME", "Anna"), ("AGE", "42"), ("BORN", datetime.datetime(1982, 5, 17)),
                                 ("SCORE", 1.5)):
                db.ENTRYFIELD_LET(first, field, value)
            second = db.ENTRYFREEID()
            db.ENTRYFIELD_LET(second, "NAME", "Bernd")
            self.assertEqual((first, second, db.DBCLOSE(), db.DBOPENED_GET()), (1, 2, True, False))

            back = rykel.cls_DB()
            self.assertTrue(back.DBOPEN(path, "", False))
            self.assertEqual((back.ENTRYALL_IDS(), [back.ENTRYFIELD_GET(1, f) for f in ("AGE", "BORN", "SCORE")]),
                             ([1, 2], [42, datetime.datetime(1982, 5, 17), 1.5]))
            self.assertEqual((back.FIELDTEXT_GET(1, "BORN"), back.FIELDCOLUMN(1)), ("17.05.1982", ["Anna", "Bernd"]))
            self.assertTrue(back.FIELDINDEXED("NAME") and back.DBCHECKINDEX())
            back.DBCLOSE()

    def test_a_file_changed_on_disk_is_saved_only_when_forced(self):
        rykel.SetNotifier(lambda *notification: "OK")
        self.addCleanup(rykel.SetNotifier, None)
        db, path = self.make("p.ry-dbb")
        db.ENTRYCHANGED_LET(True)
        self.assertTrue(db.DBCLOSE())
        a, b = rykel.cls_DB(), rykel.cls_DB()
        self.assertTrue(a.DBOPEN(path) and b.DBOPEN(path))
        b.ENTRYADD(b.ENTRYFREEID())
        self.assertTrue(b.DBSAVE())
        a.ENTRYADD(a.ENTRYFREEID())
        self.assertFalse(a.DBSAVE())
        self.assertIn("changed on disk since it was opened or last saved", a.DBSAVEERROR_GET())
        self.assertEqual((a.DBSAVE(pForce=True), a.DBSAVEERROR_GET()), (True, ""))

    def test_missing_files_and_raise(self):
        seen = []
        rykel.SetNotifier(lambda *n: seen.append(n) or "OK")
        self.addCleanup(rykel.SetNotifier, None)
        db = rykel.cls_DB()
        missing = self.path("none.header")
        self.assertEqual((db.DBOPEN(self.path("x.db"), missing, False), db.DBOPENERROR_GET(), len(seen)),
                         (False, "Header '" + missing + "' does not exist", 1))
        self.assertIn("Database error", str(seen[0]))
        with self.assertRaises(Exception) as ctx:
            db.DBOPEN(self.path("x.db"), missing, True)
        self.assertIn("does not exist", str(ctx.exception))

    def test_field_attributes_are_the_structure_keys(self):
        # the binding is made from the same member table as the structure form
        field = rykel.cls_DBField()
        keys = [field.STRUCTURE_GET().ID_GET(i) for i in range(1, field.STRUCTURE_GET().COUNT() + 1)]
        self.assertIn("DESCRIPTION", keys)
        for key in keys:
            value = getattr(field, key)
            new = {bool: True, int: 7, str: "text of " + key}.get(type(value), "value of " + key)
            setattr(field, key, new)
            self.assertEqual(field.STRUCTURE_GET().ITEM_GET(key), new, key)

    def test_fields_views_and_text_forms(self):
        field = rykel.cls_DBField()
        self.assertEqual((rykel.cls_DBField.TYPETEXT(10, True), rykel.cls_DBField.TYPEMEMBERS()[0]),
                         ("Mehrfachauswahl", "LONG"))
        field.TYPE = rykel.ID_DBFieldType_Enum
        field.MEMBERS = "r=Rot,g=Grün"
        self.assertEqual((field.TEXT("g"), field.TEXT("g", 2), field.STRUCTURE_GET().ITEM_GET("MEMBERS")),
                         ("Grün", "g - Grün", "r=Rot,g=Grün"))
        self.assertLess(field.TEXTSORT("r"), field.TEXTSORT("g"))

        db = rykel.cls_DB()
        view = db.VIEW("DEFAULT")
        view.COLUMNADD("NAME", 150)
        self.assertEqual((db.VIEWS(), view.NAME, view.WIDTH()), (1, "Standard", 150))
        db.FIELDCREATE("BOSS", rykel.ID_DBFieldType_Reference)
        db.ENTRYFIELD_LET(7, "BOSS", "x")
        db.VALUEEVENT_SET(lambda f, i, v: f.ID + ":" + str(i) + ":" + v)
        self.assertEqual(db.FIELDTEXT_GET(7, "BOSS"), "BOSS:7:x")
        text = db.SERIALIZE()
        self.assertTrue(text.startswith("DBS1:<"))
        other = rykel.cls_DB()
        self.assertEqual((other.UNSERIALIZE(text), other.ENTRYFIELD_GET(7, "BOSS"), other.UNSERIALIZE("nothing")),
                         (True, "x", False))
        self.assertIsInstance(rykel.CreateObject("RyKEL.cls_DB"), rykel.cls_DB)

