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
            db.ENTRYADD(db.ENTRYFREEID(), {"NAME": name, "ALTER": age})
        self.m.ATTACH(db, "leute")
        self.assertEqual(self.m.CURRENT_GET(), "LEUTE")
        self.assertIs(self.m.DB_GET("Leute"), self.m.DB_GET())
        out = self.k.PROCESS('{ITERATE p {{DB:ENTRIES {{DB:SORT {{DB:QUERY ALTER ">= 30"}} ALTER}}}} '
                             '{{VAR:p.NAME} ({VAR:p.ALTER}) }}', None)
        self.assertEqual(out, "Eva (34) Ute (61) ")
        # an id list made by the template comes back to Python as a structure of ids
        self.k.PROCESS("{VAR jung {{DB:QUERY ALTER \"< 30\"}}}", None)
        ids = self.k.VARIABLES.ITEM_GET("jung")
        self.assertEqual((ids.COUNT(), db.FIELDTEXT_GET(ids.ITEM_GET(1), "NAME"), self.k.ERRORLIST.COUNT()), (1, "Jan", 0))

    def test_open_by_file_and_errors(self):
        self.k.DIRECTORIES.ADD(os.path.join(ROOT, "examples") + "/")
        self.assertEqual(self.k.PROCESS('{DB:OPEN "data/kunden.db" NAME=kunden}{DB:COUNT}', None), "8")
        opened = self.m.DB_GET("KUNDEN")
        # the module's own database is a full cls_DB, queries and exports included
        self.assertIsInstance(opened, rykel.cls_DB)
        self.assertEqual((opened.DBFILE_GET(), len(opened.ENTRYQUERY("ORT", "", "Hamburg"))),
                         (os.path.join(ROOT, "examples", "data", "kunden.db"), 3))
        self.assertEqual([self.k.PROCESS("{DB:TEXT 1 STADT}", None), self.k.PROCESS('{DB:OPEN "data/keine.db"}', None),
                          self.k.ERRORLIST.COUNT()],
                         ["ERR:---Unknown field: STADT---", "ERR:---Database not found: data/keine.db---", 2])

