"""The DB command module from Python: added to an interpreter, fed a database the script made."""
import os
import unittest

import rykel

ROOT = os.path.normpath(os.path.join(os.path.dirname(__file__), "..", ".."))


class TestKELDB(unittest.TestCase):
    def setUp(self):
        self.k = rykel.cls_KEL()
        self.m = rykel.mod_KELDB()
        self.k.MODULES.ADD(self.m)

    def test_host_database_in_templates(self):
        db = rykel.cls_DB()
        db.FIELDCREATE("NAME", rykel.ID_DBFieldType_String, "Name")
        db.FIELDCREATE("ALTER", rykel.ID_DBFieldType_Long, "Alter")
        for name, age in (("Ute", 61), ("Jan", 19), ("Eva", 34)):
            i = db.ENTRYFREEID()
            db.ENTRYADD(i)
            db.ENTRYFIELD_LET(i, "NAME", name)
            db.ENTRYFIELD_LET(i, "ALTER", age)
        self.m.ATTACH(db, "leute")
        self.assertEqual(self.m.CURRENT_GET(), "LEUTE")
        self.assertIs(self.m.DB_GET("Leute"), self.m.DB_GET())
        out = self.k.PROCESS('{ITERATE p {{DB:ENTRIES {{DB:SORT {{DB:QUERY ALTER ">= 30"}} ALTER}}}} '
                             '{{VAR:p.NAME} ({VAR:p.ALTER}) }}', None)
        self.assertEqual(out, "Eva (34) Ute (61) ")
        # an id list made by the template comes back to Python as a structure of ids
        self.k.PROCESS("{VAR jung {{DB:QUERY ALTER \"< 30\"}}}", None)
        ids = self.k.VARIABLES.ITEM_GET("jung")
        self.assertEqual(ids.COUNT(), 1)
        self.assertEqual(db.FIELDTEXT_GET(ids.ITEM_GET(1), "NAME"), "Jan")
        self.assertEqual(self.k.ERRORLIST.COUNT(), 0)

    def test_open_by_file_and_errors(self):
        self.k.DIRECTORIES.ADD(os.path.join(ROOT, "examples") + "/")
        self.assertEqual(self.k.PROCESS('{DB:OPEN "data/kunden.db" NAME=kunden}{DB:COUNT}', None), "8")
        opened = self.m.DB_GET("KUNDEN")
        self.assertEqual(opened.DBFILE_GET(), os.path.join(ROOT, "examples", "data", "kunden.db"))
        # the module's own database is a full cls_DB, queries and exports included
        self.assertIsInstance(opened, rykel.cls_DB)
        self.assertEqual(len(opened.ENTRYQUERY("ORT", "", "Hamburg")), 3)
        self.assertEqual(self.k.PROCESS("{DB:TEXT 1 STADT}", None), "ERR:---Unknown field: STADT---")
        self.assertEqual(self.k.PROCESS('{DB:OPEN "data/keine.db"}', None), "ERR:---Database not found: data/keine.db---")
        self.assertEqual(self.k.ERRORLIST.COUNT(), 2)

